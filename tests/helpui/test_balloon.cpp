// Balloons: one at a time, readable, gone when they should be, and out of the way of the keyboard.
#include "helpui/desktop_fixture.h"

#include <cmath>

#include <wx/stattext.h>

#include "helpui/balloon.h"

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

// The contrast of two colours by the usual formula for legibility; 4.5 is the least for running text.
double Contrast(const wxColour& one, const wxColour& other) {
    const auto luminance = [](const wxColour& colour) {
        const auto linear = [](unsigned char channel) {
            const double value = channel / 255.0;
            return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(colour.Red()) + 0.7152 * linear(colour.Green()) +
               0.0722 * linear(colour.Blue());
    };
    const double first = luminance(one);
    const double second = luminance(other);
    return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

TEST_F(BalloonTest, AnErrorPointsAtItsControlAndPutsTheFocusThere) {
    m_dialog->mac->SetMac(L"00-11");
    m_dialog->box->SetFocus();
    EXPECT_FALSE(Error(m_dialog->mac));
    const ShownBalloon shown = CurrentBalloon();
    EXPECT_EQ(shown.anchor, m_dialog->mac);
    EXPECT_EQ(shown.title, "IP Address");
    EXPECT_EQ(shown.icon, BalloonIcon::Error);
    EXPECT_EQ(static_cast<int>(BalloonIcon::Error), 3);
    EXPECT_EQ(wxWindow::FindFocus(), m_dialog->mac);
    EXPECT_EQ(m_dialog->mac->GetStringSelection(), "00-11");
    ASSERT_NE(shown.window, nullptr);
    EXPECT_TRUE(shown.window->IsShownOnScreen());
    // It lies beside the control, not over it.
    const wxRect over = shown.window->GetScreenRect().Intersect(m_dialog->mac->GetScreenRect());
    EXPECT_LE(over.height, m_dialog->FromDIP(4));
}

TEST_F(BalloonTest, TextsAreReadable) {
    Error(m_dialog->mac);
    const wxWindow* balloon = CurrentBalloon().window;
    ASSERT_NE(balloon, nullptr);
    int texts = 0;
    for (const wxWindow* child : balloon->GetChildren()) {
        if (dynamic_cast<const wxStaticText*>(child) != nullptr) {
            EXPECT_GE(Contrast(child->GetForegroundColour(), child->GetBackgroundColour()), 7.0);
            EXPECT_TRUE(balloon->GetScreenRect().Contains(child->GetScreenRect()));
            ++texts;
        }
    }
    EXPECT_EQ(texts, 2);
}

TEST_F(BalloonTest, OnlyOneAtATime) {
    Error(m_dialog->mac);
    Error(m_dialog->address);
    EXPECT_EQ(CurrentBalloon().anchor, m_dialog->address);
    ShowHelpBalloon(m_dialog->box, "Title", "Text.");
    EXPECT_EQ(CurrentBalloon().anchor, m_dialog->box);
    EXPECT_TRUE(CurrentBalloon().isHelp);
    int balloons = 0;
    for (const wxWindow* child : m_dialog->GetChildren()) {
        balloons += child->IsTopLevel() && child->IsShown() ? 1 : 0;
    }
    EXPECT_EQ(balloons, 1);
}

TEST_F(BalloonTest, AnErrorStaysUntilItsValueChanges) {
    Error(m_dialog->address);
    Settle(1500);
    EXPECT_TRUE(IsShown());
    Press(WXK_RIGHT); // moving about is no answer
    EXPECT_TRUE(IsShown());
    Type("1");
    EXPECT_FALSE(IsShown());
    EXPECT_EQ(m_dialog->address->GetFieldText(1), "1"); // Right had gone to the second field
}

TEST_F(BalloonTest, AnErrorGoesWhenTheUserGoesElsewhere) {
    Error(m_dialog->mac);
    Press(WXK_TAB);
    EXPECT_FALSE(IsShown());
    // Moving between the fields of one control is not elsewhere.
    m_dialog->address->SetText("1.2.3.4");
    Error(m_dialog->address);
    m_dialog->address->SetFocusField(3);
    Settle();
    EXPECT_TRUE(IsShown());
    m_dialog->box->SetFocus();
    Settle();
    EXPECT_FALSE(IsShown());
}

TEST_F(BalloonTest, EscapeClosesTheBalloonAndNotTheDialog) {
    Error(m_dialog->mac);
    Press(WXK_ESCAPE);
    EXPECT_FALSE(IsShown());
    EXPECT_TRUE(m_dialog->IsShown());
    Press(WXK_ESCAPE);
    EXPECT_FALSE(m_dialog->IsShown());
}

TEST_F(BalloonTest, GoesWithItsDialogAndItsControl) {
    Error(m_dialog->mac);
    m_dialog->Hide();
    Settle();
    EXPECT_FALSE(IsShown());
    ShowAndWait(*m_dialog);
    ShowHelpBalloon(m_dialog->disabled, "Title", "Text.");
    m_dialog->disabled->Destroy();
    Settle();
    EXPECT_FALSE(IsShown());
    Error(m_dialog->mac);
    m_dialog->Move(m_dialog->GetPosition() + wxPoint(60, 40));
    EXPECT_TRUE(WaitFor([] { return !IsShown(); }));
}

TEST_F(BalloonTest, GoesWithTheDestroyedDialog) {
    auto* other = new ProbeDialog(nullptr);
    ShowAndWait(*other);
    Error(other->mac);
    EXPECT_TRUE(IsShown());
    other->Destroy();
    Settle();
    EXPECT_FALSE(IsShown());
}

TEST_F(BalloonTest, HelpGoesWithAnyKeyOrClick) {
    m_dialog->mac->SetFocus();
    Settle();
    ShowHelpBalloon(m_dialog->mac, "Title", "Text.");
    Type("0");
    EXPECT_FALSE(IsShown());
    EXPECT_EQ(m_dialog->mac->GetMac(), L"0"); // the key was not lost
    ShowHelpBalloon(m_dialog->before, "Title", "Text.");
    Settle();
    Click(*m_dialog->ok);
    EXPECT_FALSE(IsShown());
    EXPECT_EQ(m_dialog->okClicks, 1); // nor the click
    ShowHelpBalloon(m_dialog->mac, "Title", "Text.");
    Settle();
    Click(*CurrentBalloon().window);
    EXPECT_FALSE(IsShown());
}

TEST_F(BalloonTest, StaysOnTheScreen) {
    const wxRect screen = wxGetClientDisplayRect();
    const wxString longText(wxString('x', 40) + " " + wxString('y', 600));
    for (const wxPoint& corner :
         {screen.GetTopLeft(), screen.GetTopRight(), screen.GetBottomLeft(), screen.GetBottomRight()}) {
        ShowHelpBalloonAt(m_dialog, wxRect(corner, wxSize(1, 1)), "Title",
                          "A text of some words to be wrapped. " + longText.Left(30));
        Settle(50);
        EXPECT_TRUE(screen.Contains(CurrentBalloon().window->GetScreenRect())) << corner.x << "," << corner.y;
    }
}

} // namespace
} // namespace vnxtest
