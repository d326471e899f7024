// The help button in the caption, "What's This?" mode, F1 and the help message.
#include "helpui/desktop_fixture.h"

#include <wx/menu.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/statusbr.h>

#include "helpui/balloon.h"
#include "helpui/dialog_ids.h"
#include "helpui/make_child.h"

namespace vnxtest {
namespace {

class WhatsThisTest : public DesktopTest {
protected:
    // A point on a part of the caption or the border, found by asking along lines.
    static wxPoint Find(const wxTopLevelWindow& window, const WindowHelp& help, int area) {
        const wxRect inside(window.ClientToScreen(wxPoint()), window.GetClientSize());
        for (int y = inside.GetBottom() + 12; y > inside.y - 80; y -= 2) {
            for (int x = inside.GetRight() + 12; x > inside.x - 12; x -= 4) {
                const auto part = help.Caption().HitTest(wxPoint(x, y));
                if (part && part->area == area) {
                    const bool button = part->place.width > 1 && area != frame_area::kTitleBar;
                    return button ? part->place.GetPosition() + part->place.GetSize() / 2 : wxPoint(x, y);
                }
            }
        }
        ADD_FAILURE() << "no such part: " << std::hex << area;
        return {};
    }
    wxPoint Find(int area) { return Find(*m_dialog, *m_dialog->GetHelp(), area); }

    void EnterMode() {
        ClickAt(Find(frame_area::kHelpButton));
        ASSERT_TRUE(WaitFor([this] { return IsOn(); }));
    }
    // What the balloon says after the button and then `point` are clicked.
    wxString Ask(const wxPoint& point) {
        EnterMode();
        ClickAt(point);
        EXPECT_FALSE(IsOn());
        return Title();
    }
    wxString Ask(const wxWindow& window) {
        return Ask(window.GetScreenRect().GetPosition() + window.GetSize() / 2);
    }
    bool IsOn() { return m_dialog->GetHelp()->Mode().IsOn(); }
};

TEST_F(WhatsThisTest, TheNextClickAsksInsteadOfActing) {
    EXPECT_EQ(Ask(*m_dialog->ok), "'OK' Button");
    EXPECT_EQ(CurrentBalloon().anchor, m_dialog->ok);
    EXPECT_EQ(m_dialog->okClicks, 0);
    EXPECT_EQ(Ask(*m_dialog->box), "Use Two Virtual Interfaces");
    EXPECT_FALSE(m_dialog->box->GetValue());
    EXPECT_EQ(Ask(*m_dialog->disabled), "Tun");
    EXPECT_EQ(Ask(m_dialog->address->GetScreenRect().GetPosition() + wxSize(60, 12)), "Guest IP Address");
    EXPECT_EQ(CurrentBalloon().anchor, m_dialog->address);
    EXPECT_EQ(Ask(*m_dialog->mac->GetPrevSibling()), "Guest MAC Address"); // a label answers for its control
    Ask(*m_dialog->number->GetPrevSibling());                              // for that of its edit, too
    EXPECT_EQ(CurrentBalloon().anchor, m_dialog->number->Edit());
    EXPECT_EQ(Ask(*m_dialog->before), "Help Unavailable");
    EXPECT_EQ(Ask(*m_dialog->box->GetPrevSibling()), "VNXTest64UD Parameters"); // a text that is no label
    EXPECT_EQ(Ask(m_dialog->ClientToScreen(wxPoint(4, 4))), "VNXTest64UD Parameters");
    EXPECT_EQ(Ask(Find(frame_area::kTitleBar)), "Title Bar");
    EXPECT_EQ(Ask(Find(frame_area::kHelpButton)), "Context Help Button");
    EXPECT_EQ(Ask(Find(frame_area::kBorder)), "Border");
    EXPECT_EQ(Ask(Find(frame_area::kCloseButton)), "Close Button");
    EXPECT_TRUE(m_dialog->IsShown());
    EXPECT_EQ(m_dialog->GetHelp()->ControlsWithoutHelp(), std::vector<const wxWindow*>{m_dialog->before});
    // Afterwards a click is a click again.
    DismissBalloon();
    Click(*m_dialog->ok);
    EXPECT_EQ(m_dialog->okClicks, 1);
    ClickAt(Find(frame_area::kCloseButton));
    EXPECT_FALSE(m_dialog->IsShown());
}

TEST_F(WhatsThisTest, EscapeOrAnotherWindowEndsIt) {
    EnterMode();
    Press(WXK_ESCAPE);
    EXPECT_FALSE(IsOn());
    EXPECT_TRUE(m_dialog->IsShown());

    Press(WXK_F1, wxMOD_SHIFT); // the keyboard's way
    EXPECT_TRUE(IsOn());
    Type("7"); // keys do not reach the controls meanwhile
    EXPECT_EQ(m_dialog->before->GetValue(), "");
    ProbeDialog other(nullptr);
    ShowAndWait(other);
    EXPECT_FALSE(IsOn());
}

TEST_F(WhatsThisTest, F1ShowsTheSameBalloonForTheControlWithTheFocus) {
    m_dialog->address->SetFocusField(2);
    Press(WXK_F1);
    EXPECT_EQ(Title(), "Guest IP Address");
    m_dialog->before->SetFocus();
    wxHelpEvent message(wxEVT_HELP, ProbeDialog::kUnregistered); // from elsewhere, the help message
    message.SetEventObject(m_dialog->before);
    m_dialog->before->GetEventHandler()->ProcessEvent(message);
    EXPECT_NE(CurrentBalloon().text.find("control #4711."), wxString::npos);
}

class ProbeFrame : public CHelpButtonFrameWnd {
public:
    explicit ProbeFrame(wxDocManager* manager)
        : CHelpButtonFrameWnd(manager, nullptr, wxID_ANY, "Frame", wxDefaultPosition, wxSize(640, 420)) {
        SetUpHelp(kTemplateFrame);
        auto* file = MakeChild<wxMenu>();
        file->Append(wxID_EXIT, "E&xit");
        auto* bar = MakeChild<wxMenuBar>();
        bar->Append(file, "&File");
        SetMenuBar(bar);
        CreateStatusBar(2);
        pane = MakeChild<wxTextCtrl>(this, wxID_ANY, wxString('\n', 100), wxDefaultPosition, wxDefaultSize,
                                     wxTE_MULTILINE);
        GetHelp()->Assign(*pane, frame_control::kOutputPane);
    }
    wxTextCtrl* pane = nullptr;

protected:
    void RegisterHelp(HelpMaps& maps) override {
        maps.remap.Register(MakeHelpKey(kTemplateFrame, frame_area::kStatusField + 1), MakeHelpKey(0, 30141));
    }
};

TEST_F(WhatsThisTest, TheFramesBarsAndPanesAnswer) {
    wxDocManager manager;
    auto* frame = MakeChild<ProbeFrame>(&manager);
    ShowAndWait(*frame);
    const wxRect pane = frame->pane->GetScreenRect();
    const auto part = [frame](int area) { return Find(*frame, *frame->GetHelp(), area); };
    const std::pair<wxPoint, const char*> cases[] = {
        {pane.GetPosition() + pane.GetSize() / 2, "Window Pane"},
        {wxPoint(pane.x + 20, pane.y - 10), "Menu Bar"},
        {wxPoint(pane.x + 20, pane.GetBottom() + 12), "Status Bar"},
        {wxPoint(pane.x + pane.width * 3 / 4, pane.GetBottom() + 12), "CAPS Indicator"},
        {wxPoint(pane.GetRight() - 4, pane.GetBottom() + 12), "Size Box"},
        {part(frame_area::kMaximizeButton), "Maximize Button"},
        {part(frame_area::kTitleBar), "Application Title Bar"},
        {part(frame_area::kLeftEdge), "Left Edge"},
    };
    for (const auto& [point, title] : cases) {
        ClickAt(part(frame_area::kHelpButton));
        EXPECT_TRUE(WaitFor([&] { return frame->GetHelp()->Mode().IsOn(); }));
        ClickAt(point);
        EXPECT_TRUE(WaitFor([] { return !Title().empty(); }));
        EXPECT_EQ(Title(), title);
    }
    EXPECT_FALSE(frame->IsMaximized());
    EXPECT_TRUE(frame->GetHelp()->ControlsWithoutHelp().empty());
    DismissBalloon();
    frame->Destroy();
    Settle();
}

// The title bar is part of the window here, and is not to be counted twice in its size: a size that is read
// and set again, as when a window's place is remembered, is the same size.
TEST_F(WhatsThisTest, SizesSurviveARoundTrip) {
    const wxSize contents = m_dialog->GetSizer()->CalcMin();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(m_dialog->GetClientSize().y, contents.y);
        EXPECT_GE(m_dialog->GetClientSize().x, contents.x);
        m_dialog->SetSize(m_dialog->GetSize());
        m_dialog->Hide();
        ShowAndWait(*m_dialog);
    }
    CHelpButtonWnd<wxFrame> frame(nullptr, wxID_ANY, "Plain frame"); // the template over another window
    frame.SetUpHelp(999);
    ShowAndWait(frame);
    frame.SetSize(wxSize(700, 500));
    EXPECT_TRUE(WaitFor([&] { return frame.GetClientSize() == wxSize(700, 500); }));
    frame.Maximize();
    EXPECT_TRUE(WaitFor([&] { return frame.GetClientSize().x > 700; }));
    frame.Maximize(false);
    EXPECT_TRUE(WaitFor([&] { return frame.GetSize() == wxSize(700, 500); }));
}

} // namespace
} // namespace vnxtest
