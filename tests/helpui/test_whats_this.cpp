// The help button in the caption, "What's This?" mode, F1 and the help message.
#include "helpui/help_fixture.h"

#include <optional>

#include <wx/menu.h>
#include <wx/platinfo.h>

#include "widgets/caption/frame_area.h"
#include "widgets/make_child.h"

namespace vnxtest {
namespace {

class WhatsThisTest : public HelpTest {
protected:
    // A point on a part of the caption or the border, found by asking along lines.
    static std::optional<wxPoint> Look(const wxWindow& window, const WindowHelp& help, int area) {
        const wxRect inside(window.ClientToScreen(wxPoint()), window.GetClientSize());
        for (int y = inside.GetBottom() + 12; y > inside.y - 80; y -= 2) {
            for (int x = inside.GetRight() + 12; x > inside.x - 12; x -= 4) {
                if (inside.Contains(x, y)) {
                    continue;
                }
                const auto part = help.Caption().HitTest(wxPoint(x, y));
                if (part && part->area == area) {
                    const bool button = part->place.width > 1 && area != frame_area::kTitleBar;
                    return button ? part->place.GetPosition() + part->place.GetSize() / 2 : wxPoint(x, y);
                }
            }
        }
        return std::nullopt;
    }
    static wxPoint Find(const wxWindow& window, const WindowHelp& help, int area) {
        const auto point = Look(window, help, area);
        EXPECT_TRUE(point) << "no such part: " << std::hex << area;
        return point.value_or(wxPoint());
    }
    // Where the help button of a window is; asking along lines takes long where the caption is the system's.
    std::optional<wxPoint> HelpButton(const wxWindow& window, const WindowHelp& help) {
        if (m_asked != &window) {
            m_asked = &window;
            m_button = Look(window, help, frame_area::kHelpButton);
        }
        return m_button;
    }
    // What the balloon says after the help button of `window` and then `point` are clicked.
    wxString Ask(const wxWindow& window, WindowHelp& help, const wxPoint& point) {
        if (const auto button = HelpButton(window, help)) {
            ClickAt(*button);
        } else {
            EXPECT_FALSE(IsOwnCaption()); // Wine's captions of dialogs have no such button
            Press(WXK_F1, wxMOD_SHIFT);
        }
        EXPECT_TRUE(WaitFor([&help] { return help.Mode().IsOn(); }));
        ClickAt(point);
        EXPECT_FALSE(help.Mode().IsOn());
        return Title();
    }
    // Where the system draws the captions of dialogs, their parts are the system's matter.
    static bool IsOwnCaption() { return wxPlatformInfo::Get().GetPortId() == wxPORT_GTK; }
    wxString Ask(const wxWindow& control) {
        return Ask(*m_dialog, Help(), control.GetScreenRect().GetPosition() + control.GetSize() / 2);
    }
    wxString Ask(int area) { return Ask(*m_dialog, Help(), Find(*m_dialog, Help(), area)); }

    const void* m_asked = nullptr;
    std::optional<wxPoint> m_button;
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
    EXPECT_EQ(CurrentBalloon().anchor, m_dialog->number->Edit());
    EXPECT_EQ(Ask(*m_dialog->before), "Help Unavailable");
    EXPECT_EQ(Ask(*m_dialog->box->GetPrevSibling()), "Probe"); // a text that is no label
    EXPECT_EQ(Ask(*m_dialog, Help(), m_dialog->ClientToScreen(wxPoint(4, 4))), "Probe");
    EXPECT_EQ(Ask(frame_area::kTitleBar), "Title Bar");
    if (IsOwnCaption()) {
        EXPECT_EQ(Ask(frame_area::kHelpButton), "Context Help Button");
        EXPECT_EQ(Ask(frame_area::kBorder), "Border");
    }
    EXPECT_EQ(Ask(frame_area::kCloseButton), "Close Button");
    EXPECT_TRUE(m_dialog->IsShown());
    // Afterwards a click is a click again.
    DismissBalloon();
    Click(*m_dialog->ok);
    EXPECT_EQ(m_dialog->okClicks, 1);
    ClickAt(Find(*m_dialog, Help(), frame_area::kCloseButton));
    EXPECT_FALSE(m_dialog->IsShown());
}

TEST_F(WhatsThisTest, EscapeOrAnotherWindowEndsIt) {
    const WhatsThisMode& mode = Help().Mode();
    Press(WXK_F1, wxMOD_SHIFT); // the keyboard's way
    EXPECT_TRUE(mode.IsOn());
    Press(WXK_ESCAPE);
    EXPECT_FALSE(mode.IsOn());
    EXPECT_TRUE(m_dialog->IsShown());
    Press(WXK_F1, wxMOD_SHIFT);
    Type("7"); // keys do not reach the controls meanwhile
    EXPECT_EQ(m_dialog->before->GetValue(), "");
    EXPECT_TRUE(mode.IsOn());
    HelpProbe other(nullptr);
    ShowAndWait(other);
    EXPECT_FALSE(mode.IsOn());
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
        {Find(*frame, *frame->GetHelp(), frame_area::kMaximizeButton), "Maximize Button"},
        {Find(*frame, *frame->GetHelp(), frame_area::kTitleBar), "Application Title Bar"},
        {Find(*frame, *frame->GetHelp(), frame_area::kLeftEdge), "Left Edge"},
    };
    for (const auto& [point, title] : cases) {
        EXPECT_EQ(Ask(*frame, *frame->GetHelp(), point), title);
    }
    EXPECT_FALSE(frame->IsMaximized());
    DismissBalloon();
    frame->Destroy();
    Settle();
}

} // namespace
} // namespace vnxtest
