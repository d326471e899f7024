// Balloons: one at a time, readable, closed in time, and without taking keys.
#include "widgets/desktop_fixture.h"

#include <cmath>

#include <wx/stattext.h>

namespace vnxtest {
namespace {

class BalloonTest : public DesktopTest {
protected:
    bool Error(wxWindow* control) {
        const bool result = ErrorBalloon(control, "IP Address", "The IP Address you entered is invalid.");
        Settle();
        return result;
    }
    static bool IsShown() { return CurrentBalloon().anchor != nullptr; }
};

TEST_F(BalloonTest, AnErrorPointsAtItsControlTakesTheFocusThereAndIsReadable) {
    m_dialog->mac->SetMac(L"00-11");
    m_dialog->box->SetFocus();
    EXPECT_FALSE(Error(m_dialog->mac));
    const ShownBalloon shown = CurrentBalloon();
    EXPECT_EQ(shown.anchor, m_dialog->mac);
    EXPECT_EQ(wxWindow::FindFocus(), m_dialog->mac);
    EXPECT_EQ(m_dialog->mac->GetStringSelection(), "00-11");
    EXPECT_LE(shown.place.Intersect(m_dialog->mac->GetScreenRect()).height, 4); // beside it, not over it
    int texts = 0;
    for (const wxWindow* child : shown.window != nullptr ? shown.window->GetChildren() : wxWindowList()) {
        if (dynamic_cast<const wxStaticText*>(child) != nullptr) {
            const double text = child->GetForegroundColour().GetLuminance();
            EXPECT_GT(std::abs(text - child->GetBackgroundColour().GetLuminance()), 0.6);
            EXPECT_TRUE(shown.place.Contains(child->GetScreenRect()));
            ++texts;
        }
    }
    EXPECT_EQ(texts, shown.window != nullptr ? 2 : 0); // the system's own is the system's matter
    ShowHelpBalloon(m_dialog->box, "Title", "Text.");  // takes its place
    EXPECT_EQ(Title(), "Title");
    Type("R"); // help goes with any key or click
    EXPECT_FALSE(IsShown());
}

// What Escape closes first is tried in the real dialogs, by tests/ui.
TEST_F(BalloonTest, AnErrorStaysUntilItsValueChangesOrTheUserGoesElsewhere) {
    m_dialog->address->SetText("1.2.3.4");
    Error(m_dialog->address);
    Type("R"); // moving about, also within the control, is no answer
    m_dialog->address->SetFocusField(3);
    Settle(1000);
    EXPECT_TRUE(IsShown());
    Type("5");
    EXPECT_FALSE(IsShown());
    EXPECT_EQ(m_dialog->address->GetText(), "1.2.3.5"); // the key was not lost
    Error(m_dialog->mac);
    Press(WXK_TAB);
    EXPECT_FALSE(IsShown());
}

TEST_F(BalloonTest, GoesWithItsDialogAndItsControl) {
    // What is left of a balloon must neither look at its control, which is gone, nor close the next one.
    ShowHelpBalloon(m_dialog->disabled, "Title", "Text.");
    delete m_dialog->disabled;
    ShowHelpBalloon(m_dialog->box, "Next", "Text.");
    wxFocusEvent focus(wxEVT_SET_FOCUS, m_dialog->box->GetId());
    focus.SetEventObject(m_dialog->box);
    m_dialog->box->GetEventHandler()->ProcessEvent(focus);
    EXPECT_EQ(Title(), "Next");
    m_dialog->Move(m_dialog->GetPosition() + wxPoint(60, 40));
    EXPECT_TRUE(WaitFor([] { return !IsShown(); }));
    Error(m_dialog->mac);
    m_dialog->Hide();
    Settle();
    EXPECT_FALSE(IsShown());
}

TEST_F(BalloonTest, StaysOnTheScreen) {
    const wxRect screen = wxGetClientDisplayRect();
    for (const wxPoint& corner :
         {screen.GetTopLeft(), screen.GetTopRight(), screen.GetBottomLeft(), screen.GetBottomRight()}) {
        ShowHelpBalloonAt(m_dialog, wxRect(corner, wxSize(1, 1)), "Title",
                          "A text of so many words that it is wrapped, and then once more.");
        Settle(50);
        EXPECT_TRUE(screen.Contains(CurrentBalloon().place)) << corner.x << "," << corner.y;
    }
}

} // namespace
} // namespace vnxtest
