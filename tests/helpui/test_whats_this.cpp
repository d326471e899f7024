// The help button in the caption, "What's This?" mode, F1 and the help message.
#include "helpui/help_fixture.h"

#include <wx/menu.h>
#include <wx/platinfo.h>

#include "widgets/caption/frame_area.h"
#include "widgets/make_child.h"

namespace vnxtest {
namespace {

class WhatsThisTest : public HelpTest {
protected:
    // What the balloon says after `point` is asked for from the keyboard.
    wxString Ask(const wxPoint& point) {
        Press(WXK_F1, wxMOD_SHIFT);
        ClickAt(point);
        return Title();
    }
    wxString Ask(const wxWindow& control) {
        return Ask(control.GetScreenRect().GetPosition() + control.GetSize() / 2);
    }
    // The first of some points, one `step` after the other, that answers with this title.
    wxPoint Find(const char* title, wxPoint point, const wxPoint& step) {
        constexpr int kMost = 24;
        for (int i = 0; i < kMost; ++i, point += step) {
            if (Ask(point) == title) {
                return point;
            }
        }
        ADD_FAILURE() << "no such part: " << title;
        return {};
    }
    // In the middle of a window's caption, which lies over its contents and its menu bar.
    wxPoint Caption(const wxWindow& window, const char* title) {
        const wxPoint top = window.ClientToScreen(wxPoint(window.GetClientSize().x / 2, 0));
        return Find(title, top - wxPoint(0, 8), wxPoint(0, -8)) - wxPoint(0, 4);
    }
    // A button of the caption, looked for from its right end; a few pixels on, inside of the button's edge.
    wxPoint CaptionButton(const wxWindow& window, const char* title, const wxPoint& caption) {
        const int right = window.ClientToScreen(wxPoint(window.GetClientSize().x, 0)).x;
        return Find(title, wxPoint(right - 6, caption.y), wxPoint(-8, 0)) - wxPoint(5, 0);
    }
    // Where the system draws the captions of dialogs, their parts are the system's matter.
    static bool IsOwnCaption() { return wxPlatformInfo::Get().GetPortId() == wxPORT_GTK; }
};

TEST_F(WhatsThisTest, TheNextClickAsksInsteadOfActing) {
    EXPECT_EQ(Ask(*m_dialog->ok), "'OK' Button");
    EXPECT_EQ(CurrentBalloon().anchor, m_dialog->ok);
    EXPECT_EQ(m_dialog->okClicks, 0);
    EXPECT_EQ(Ask(*m_dialog->box), "Box");
    EXPECT_FALSE(m_dialog->box->GetValue());
    EXPECT_EQ(Ask(*m_dialog->disabled), "Disabled Button");
    EXPECT_EQ(Ask(*m_dialog->address), "IP Entry");
    EXPECT_EQ(CurrentBalloon().anchor, m_dialog->address);
    EXPECT_EQ(Ask(*m_dialog->mac->GetPrevSibling()), "MAC Entry"); // a label answers for its control
    Ask(*m_dialog->number->GetPrevSibling());                      // for that of its edit, too
    EXPECT_EQ(CurrentBalloon().anchor, m_dialog->numberText);
    EXPECT_EQ(Ask(*m_dialog->before), "Help Unavailable");
    EXPECT_EQ(Ask(*m_dialog->box->GetPrevSibling()), "Probe"); // a text that is no label
    EXPECT_EQ(Ask(m_dialog->ClientToScreen(wxPoint(4, 4))), "Probe");
    const wxPoint caption = Caption(*m_dialog, "Title Bar");
    if (IsOwnCaption()) {
        const wxPoint help = CaptionButton(*m_dialog, "Context Help Button", caption);
        ClickAt(help);
        ClickAt(m_dialog->ClientToScreen(wxPoint(4, 4)));
        EXPECT_EQ(Title(), "Probe");
        Find("Border", m_dialog->ClientToScreen(wxPoint(-1, 20)), wxPoint(-1, 0));
    }
    const wxPoint close = CaptionButton(*m_dialog, "Close Button", caption);
    EXPECT_TRUE(m_dialog->IsShown());
    // Afterwards a click is a click again.
    DismissBalloon();
    Click(*m_dialog->ok);
    EXPECT_EQ(m_dialog->okClicks, 1);
    ClickAt(close);
    EXPECT_FALSE(m_dialog->IsShown());
}

TEST_F(WhatsThisTest, EscapeOrAnotherWindowEndsIt) {
    Press(WXK_F1, wxMOD_SHIFT); // the keyboard's way
    Press(WXK_ESCAPE);
    EXPECT_TRUE(m_dialog->IsShown());
    Click(*m_dialog->box);
    EXPECT_TRUE(m_dialog->box->GetValue());
    m_dialog->before->SetFocus();
    Press(WXK_F1, wxMOD_SHIFT);
    Type("7"); // keys do not reach the controls meanwhile
    EXPECT_EQ(m_dialog->before->GetValue(), "");
    Click(*m_dialog->box);
    EXPECT_EQ(Title(), "Box"); // it was still on
    Press(WXK_F1, wxMOD_SHIFT);
    HelpProbe other(nullptr);
    ShowAndWait(other);
    Click(*other.ok);
    EXPECT_EQ(other.okClicks, 1);
    EXPECT_EQ(Title(), "");
}

TEST_F(WhatsThisTest, F1ShowsTheSameBalloonForTheControlWithTheFocus) {
    m_dialog->address->SetFocusField(2);
    Press(WXK_F1);
    EXPECT_EQ(Title(), "IP Entry");
    m_dialog->before->SetFocus();
    wxHelpEvent message(wxEVT_HELP, ProbeDialog::kBefore); // from elsewhere, the help message
    message.SetEventObject(m_dialog->before);
    m_dialog->before->GetEventHandler()->ProcessEvent(message);
    EXPECT_NE(CurrentBalloon().text.find("control #1000."), wxString::npos);
}

constexpr int kPane = 0xE900;
constexpr StandardTextUse kFrameUses[] = {{frame_area::kTitleBar, 30151},
                                          {frame_area::kStatusBar, 30132},
                                          {kPane, 30135},
                                          {frame_area::kStatusField + 1, 30141}};
constexpr HelpTable kFrameHelp{201, kProbeTopic, {}, kFrameUses};

TEST_F(WhatsThisTest, TheFramesBarsAndPanesAnswer) {
    wxDocManager manager;
    auto* frame = MakeChild<CHelpButtonFrameWnd>(&manager, nullptr, wxID_ANY, "Frame", wxDefaultPosition,
                                                 wxSize(640, 420));
    frame->SetUpHelp(kFrameHelp);
    frame->SetMenuBar(MakeChild<wxMenuBar>());
    frame->GetMenuBar()->Append(MakeChild<wxMenu>(), "&File");
    frame->CreateStatusBar(2);
    auto* text = MakeChild<wxTextCtrl>(frame, wxID_ANY, wxString('\n', 100), wxDefaultPosition, wxDefaultSize,
                                       wxTE_MULTILINE);
    frame->GetHelp()->Assign(*text, kPane);
    ShowAndWait(*frame);
    const wxRect pane = text->GetScreenRect();
    const std::pair<wxPoint, const char*> cases[] = {
        {pane.GetPosition() + pane.GetSize() / 2, "Window Pane"},
        {wxPoint(pane.x + 20, pane.y - 10), "Menu Bar"},
        {wxPoint(pane.x + 20, pane.GetBottom() + 12), "Status Bar"},
        {wxPoint(pane.x + pane.width * 3 / 4, pane.GetBottom() + 12), "CAPS Indicator"},
        {wxPoint(pane.GetRight() - 4, pane.GetBottom() + 12), "Size Box"},
    };
    for (const auto& [point, title] : cases) {
        EXPECT_EQ(Ask(point), title);
    }
    const wxPoint caption = Caption(*frame, "Application Title Bar");
    CaptionButton(*frame, "Maximize Button", caption);
    ClickAt(CaptionButton(*frame, "Context Help Button", caption));
    ClickAt(cases[0].first);
    EXPECT_EQ(Title(), "Window Pane");
    Find("Left Edge", frame->ClientToScreen(wxPoint(-1, 60)), wxPoint(-1, 0));
    EXPECT_FALSE(frame->IsMaximized());
    DismissBalloon();
    frame->Destroy();
    Settle();
}

} // namespace
} // namespace vnxtest
