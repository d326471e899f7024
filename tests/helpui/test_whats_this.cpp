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
    // A point on a part of the caption or the border, found by asking along a line.
    static wxPoint Find(const wxTopLevelWindow& window, const WindowHelp& help, int area) {
        const wxPoint origin = window.ClientToScreen(wxPoint());
        const int width = window.GetClientSize().x;
        for (int y = origin.y - 20; y > origin.y - 80; y -= 6) {
            for (int x = origin.x + width; x > origin.x; x -= 4) {
                const auto part = help.Caption().HitTest(wxPoint(x, y));
                if (part && part->area == area) {
                    return part->area == frame_area::kTitleBar
                               ? wxPoint(x, y)
                               : part->place.GetPosition() + part->place.GetSize() / 2;
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

    bool IsOn() { return m_dialog->GetHelp()->Mode().IsOn(); }
    static wxString Title() { return CurrentBalloon().title; }
};

TEST_F(WhatsThisTest, TheNextClickAsksInsteadOfActing) {
    EnterMode();
    Click(*m_dialog->ok);
    EXPECT_FALSE(IsOn());
    EXPECT_EQ(Title(), "'OK' Button");
    EXPECT_EQ(CurrentBalloon().anchor, m_dialog->ok);
    EXPECT_EQ(m_dialog->okClicks, 0);

    EnterMode();
    Click(*m_dialog->box);
    EXPECT_EQ(Title(), "Use Two Virtual Interfaces");
    EXPECT_FALSE(m_dialog->box->GetValue());

    EnterMode();
    ClickAt(m_dialog->list->GetScreenRect().GetPosition() + wxSize(20, 12));
    EXPECT_EQ(Title(), "Host Adapter MAC Address");
    EXPECT_EQ(m_dialog->list->GetSelection(), wxNOT_FOUND);

    // Afterwards a click is a click again (once the balloon is out of the way).
    Press(WXK_ESCAPE);
    Click(*m_dialog->ok);
    EXPECT_EQ(Title(), "");
    EXPECT_EQ(m_dialog->okClicks, 1);
}

TEST_F(WhatsThisTest, DisabledControlsLabelsPartsAndTheDialogItselfAnswer) {
    EnterMode();
    Click(*m_dialog->disabled);
    EXPECT_EQ(Title(), "Tun");

    EnterMode(); // a field inside the address control
    ClickAt(m_dialog->address->GetScreenRect().GetPosition() + wxSize(60, 12));
    EXPECT_EQ(Title(), "Guest IP Address");
    EXPECT_EQ(CurrentBalloon().anchor, m_dialog->address);

    EnterMode(); // a label answers for the control behind it
    Click(*m_dialog->mac->GetPrevSibling());
    EXPECT_EQ(Title(), "Guest MAC Address");

    EnterMode(); // a text that is no label, and the background
    Click(*m_dialog->box->GetPrevSibling());
    EXPECT_EQ(Title(), "VNXTest64UD Parameters");
    EnterMode();
    ClickAt(m_dialog->ClientToScreen(wxPoint(4, 4)));
    EXPECT_EQ(Title(), "VNXTest64UD Parameters");
}

TEST_F(WhatsThisTest, PartsOfTheCaptionAnswerAndDoNotAct) {
    EnterMode();
    ClickAt(Find(frame_area::kCloseButton));
    EXPECT_EQ(Title(), "Close Button");
    EXPECT_TRUE(m_dialog->IsShown());
    EnterMode();
    ClickAt(Find(frame_area::kTitleBar));
    EXPECT_EQ(Title(), "Title Bar");
    EnterMode();
    ClickAt(Find(frame_area::kHelpButton));
    EXPECT_EQ(Title(), "Context Help Button");
    EXPECT_FALSE(IsOn());
    ClickAt(Find(frame_area::kCloseButton));
    EXPECT_FALSE(m_dialog->IsShown());
}

TEST_F(WhatsThisTest, EscapeAnotherButtonOrAnotherWindowEndsIt) {
    EnterMode();
    Press(WXK_ESCAPE);
    EXPECT_FALSE(IsOn());
    EXPECT_TRUE(m_dialog->IsShown());

    EnterMode();
    m_user.MouseMove(m_dialog->ok->GetScreenRect().GetPosition() + wxSize(8, 8));
    m_user.MouseClick(wxMOUSE_BTN_RIGHT);
    Settle();
    EXPECT_FALSE(IsOn());

    EnterMode(); // keys do not reach the controls meanwhile
    Type("7");
    EXPECT_TRUE(IsOn());
    EXPECT_EQ(m_dialog->before->GetValue(), "");
    ProbeDialog other(nullptr);
    ShowAndWait(other);
    EXPECT_FALSE(IsOn());
    Click(*other.ok);
    EXPECT_EQ(other.okClicks, 1);
}

TEST_F(WhatsThisTest, ShiftF1BeginsItFromTheKeyboard) {
    m_dialog->mac->SetFocus();
    Settle();
    Press(WXK_F1, wxMOD_SHIFT);
    EXPECT_TRUE(IsOn());
    Click(*m_dialog->ok);
    EXPECT_EQ(Title(), "'OK' Button");
    EXPECT_EQ(m_dialog->okClicks, 0);
}

TEST_F(WhatsThisTest, F1AndTheHelpMessageShowTheSameBalloon) {
    m_dialog->address->SetFocusField(2);
    Settle();
    Press(WXK_F1);
    EXPECT_EQ(Title(), "Guest IP Address");
    DismissBalloon();
    wxHelpEvent message(wxEVT_HELP, m_dialog->address->GetId(), wxDefaultPosition);
    message.SetEventObject(m_dialog->address);
    m_dialog->address->GetEventHandler()->ProcessEvent(message);
    EXPECT_EQ(Title(), "Guest IP Address");
    DismissBalloon();
    m_dialog->before->SetFocus();
    Settle();
    Press(WXK_F1);
    EXPECT_EQ(Title(), "Help Unavailable");
    EXPECT_NE(CurrentBalloon().text.find("control #4711."), wxString::npos);
}

TEST_F(WhatsThisTest, AFinishedDialogCanAskWhichControlsHaveNoHelp) {
    EXPECT_EQ(m_dialog->GetHelp()->ControlsWithoutHelp(), std::vector<const wxWindow*>{m_dialog->before});
}

// The title bar is part of the window here, and is not to be counted twice in its size.
TEST_F(WhatsThisTest, TheDialogIsAsLargeAsItsContents) {
    const wxSize contents = m_dialog->GetSizer()->CalcMin();
    EXPECT_EQ(m_dialog->GetClientSize().y, contents.y);
    EXPECT_GE(m_dialog->GetClientSize().x, contents.x);
    for (int i = 0; i < 3; ++i) {
        m_dialog->SetSize(m_dialog->GetSize());
        m_dialog->Hide();
        ShowAndWait(*m_dialog);
    }
    EXPECT_EQ(m_dialog->GetClientSize().y, contents.y);
}

class ProbeFrame : public CHelpButtonFrameWnd {
public:
    explicit ProbeFrame(wxDocManager* manager)
        : CHelpButtonFrameWnd(manager, nullptr, wxID_ANY, "Probe frame", wxDefaultPosition,
                              wxSize(640, 420)) {
        SetUpHelp(kTemplateFrame);
        auto* file = MakeChild<wxMenu>();
        file->Append(wxID_EXIT, "E&xit");
        auto* bar = MakeChild<wxMenuBar>();
        bar->Append(file, "&File");
        SetMenuBar(bar);
        CreateStatusBar(2);
        pane =
            MakeChild<wxTextCtrl>(this, wxID_ANY, "text", wxDefaultPosition, wxDefaultSize, wxTE_MULTILINE);
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
    const auto ask = [&](const wxPoint& point) {
        ClickAt(Find(*frame, *frame->GetHelp(), frame_area::kHelpButton));
        EXPECT_TRUE(WaitFor([&] { return frame->GetHelp()->Mode().IsOn(); }));
        ClickAt(point);
        EXPECT_TRUE(WaitFor([] { return !Title().empty(); }));
        return Title();
    };
    EXPECT_EQ(ask(pane.GetPosition() + pane.GetSize() / 2), "Window Pane");
    EXPECT_EQ(ask(wxPoint(pane.x + 20, pane.y - 10)), "Menu Bar");
    EXPECT_EQ(ask(wxPoint(pane.x + 20, pane.GetBottom() + 12)), "Status Bar");
    EXPECT_EQ(ask(wxPoint(pane.x + pane.width * 3 / 4, pane.GetBottom() + 12)), "CAPS Indicator");
    EXPECT_EQ(ask(Find(*frame, *frame->GetHelp(), frame_area::kMaximizeButton)), "Maximize Button");
    EXPECT_FALSE(frame->IsMaximized());
    EXPECT_EQ(ask(Find(*frame, *frame->GetHelp(), frame_area::kTitleBar)), "Application Title Bar");
    EXPECT_TRUE(frame->GetHelp()->ControlsWithoutHelp().empty());
    DismissBalloon();
    frame->Destroy();
    Settle();
}

// A size that is read and set again, as when a window's place is remembered, is the same size.
TEST_F(WhatsThisTest, SizesSurviveARoundTrip) {
    CHelpButtonWnd<wxFrame> frame(nullptr, wxID_ANY, "Plain frame");
    frame.SetUpHelp(999);
    ShowAndWait(frame);
    for (const wxSize& size : {wxSize(700, 500), wxSize(640, 420)}) {
        frame.SetSize(size);
        EXPECT_TRUE(WaitFor([&] { return frame.GetClientSize() == size; }));
        EXPECT_EQ(frame.GetSize(), size);
        frame.SetClientSize(frame.GetClientSize() + wxSize(10, 10));
        Settle();
        EXPECT_EQ(frame.GetClientSize(), size + wxSize(10, 10));
    }
    const wxSize before = frame.GetSize();
    frame.Maximize();
    EXPECT_TRUE(WaitFor([&] { return frame.IsMaximized() && frame.GetClientSize().x > before.x; }));
    Settle();
    EXPECT_EQ(frame.GetSize(), frame.GetClientSize());
    frame.Maximize(false);
    EXPECT_TRUE(WaitFor([&] { return frame.GetClientSize() == before; }));
    EXPECT_EQ(frame.GetSize(), before);
}

// The template works over any top-level window, not only over the two that the program uses.
TEST_F(WhatsThisTest, TheTemplateExtendsOtherWindowsToo) {
    CHelpButtonWnd<wxFrame> frame(nullptr, wxID_ANY, "Plain frame");
    frame.SetUpHelp(999);
    ShowAndWait(frame);
    ClickAt(Find(frame, *frame.GetHelp(), frame_area::kHelpButton));
    EXPECT_TRUE(frame.GetHelp()->Mode().IsOn());
    ClickAt(Find(frame, *frame.GetHelp(), frame_area::kCloseButton));
    EXPECT_EQ(Title(), "Close Button");
}

} // namespace
} // namespace vnxtest
