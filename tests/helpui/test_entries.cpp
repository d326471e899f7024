// The MAC entry and the number entry in the hands of a user.
#include "helpui/desktop_fixture.h"

#include <wx/spinbutt.h>

namespace vnxtest {
namespace {

class MacEntryTest : public DesktopTest {
protected:
    void SetUp() override {
        DesktopTest::SetUp();
        m_mac = m_dialog->mac;
        m_dialog->Bind(
            wxEVT_TEXT, [this](wxCommandEvent& event) { m_reported.push_back(event.GetString()); },
            m_mac->GetId());
        m_mac->SetFocus();
        Settle();
    }
    MacEntryCtrl* m_mac = nullptr;
    std::vector<wxString> m_reported;
};

TEST_F(MacEntryTest, SeparatorsComeByThemselvesAndTheCaretFollows) {
    Type("02005e800004");
    EXPECT_EQ(m_mac->GetMac(), L"02-00-5e-80-00-04");
    EXPECT_EQ(m_mac->GetInsertionPoint(), 17);
    EXPECT_EQ(m_reported.size(), 12U);
    EXPECT_EQ(m_reported.back(), "02-00-5e-80-00-04");
    Type("5"); // full
    EXPECT_EQ(m_mac->GetMac(), L"02-00-5e-80-00-04");
    EXPECT_EQ(m_reported.size(), 12U);
}

TEST_F(MacEntryTest, TheFirstSeparatorIsKept) {
    Type("02:005e");
    EXPECT_EQ(m_mac->GetMac(), L"02:00:5e");
    Type("-80");
    EXPECT_EQ(m_mac->GetMac(), L"02:00:5e:80");
}

TEST_F(MacEntryTest, WhatIsRefusedIsNeverSeenByAnybody) {
    Type("02xg-zz");
    EXPECT_EQ(m_mac->GetMac(), L"02-");
    for (const wxString& text : m_reported) {
        EXPECT_EQ(text.find_first_of("xgz"), wxString::npos) << text;
    }
    Press(WXK_BACK);
    Press(WXK_BACK);
    EXPECT_EQ(m_mac->GetMac(), L"0");
    EXPECT_EQ(m_reported.back(), "0");
}

TEST_F(MacEntryTest, DeletingInTheMiddleThatWouldBreakTheFormIsUndone) {
    m_mac->SetMac(L"02-00-5e");
    m_mac->SetInsertionPoint(2);
    Press(WXK_DELETE);
    EXPECT_EQ(m_mac->GetMac(), L"02-00-5e");
    m_mac->SelectAll();
    Press(WXK_DELETE);
    EXPECT_EQ(m_mac->GetMac(), L"");
}

TEST_F(MacEntryTest, Paste) {
    SetClipboard(" 02-00-5E-80-00-04\n");
    Press('V', wxMOD_CONTROL);
    EXPECT_EQ(m_mac->GetMac(), L"02-00-5E-80-00-04");
    m_mac->SelectAll();
    SetClipboard("02005E800005");
    Press('V', wxMOD_CONTROL);
    EXPECT_EQ(m_mac->GetMac(), L"02-00-5E-80-00-05");
    SetClipboard("not an address");
    m_mac->SelectAll();
    Press('V', wxMOD_CONTROL);
    EXPECT_EQ(m_mac->GetMac(), L"02-00-5E-80-00-05");
    EXPECT_EQ(m_reported.size(), 2U);
}

class NumberEntryTest : public DesktopTest {
protected:
    void SetUp() override {
        DesktopTest::SetUp();
        m_number = m_dialog->number;
        m_number->SetFocus();
        m_number->Edit()->SelectAll();
        Settle();
    }
    NumberEntry* m_number = nullptr;
};

TEST_F(NumberEntryTest, WhatIsTypedStaysAndIsJudgedWhenAsked) {
    Type("65508");
    m_dialog->before->SetFocus();
    Settle();
    EXPECT_EQ(m_number->GetValue(), 65508);
    EXPECT_EQ(m_number->RangeMessage(), "Enter an integer between 8 and 65507.");
    const std::pair<const char*, const char*> cases[] = {
        {"65507", ""},
        {"8", ""},
        {" 9 ", ""},
        {"7", "Enter an integer between 8 and 65507."},
        {"-1", "Enter an integer between 8 and 65507."},
        {"99999999999999999999", "Enter an integer between 8 and 65507."},
        {"", "Enter an integer."},
        {"8x", "Enter an integer."},
        {"1.5", "Enter an integer."},
    };
    for (const auto& [text, message] : cases) {
        m_number->Edit()->ChangeValue(text);
        EXPECT_EQ(m_number->RangeMessage(), message) << text;
    }
}

TEST_F(NumberEntryTest, StepsStayInTheRange) {
    int changes = 0;
    m_dialog->Bind(EVT_NUMBER_CHANGED, [&changes](wxCommandEvent&) { ++changes; });
    m_number->SetPosition(65506);
    Press(WXK_UP);
    Press(WXK_UP);
    EXPECT_EQ(m_number->GetValue(), 65507);
    m_number->SetPosition(1);
    EXPECT_EQ(m_number->GetValue(), 8);
    Press(WXK_DOWN);
    EXPECT_EQ(m_number->GetValue(), 8);
    m_number->SetValue(99999); // as typed: the next step comes back into the range
    Press(WXK_DOWN);
    EXPECT_EQ(m_number->GetValue(), 65507);
    EXPECT_GE(changes, 3);
}

TEST_F(NumberEntryTest, TheButtonsStep) {
    m_number->SetPosition(100);
    const wxRect place = m_number->Spin()->GetScreenRect();
    ClickAt(place.GetPosition() + wxSize(place.width * 3 / 4, place.height / 4));
    ClickAt(place.GetPosition() + wxSize(place.width * 3 / 4, place.height / 4));
    EXPECT_EQ(m_number->GetValue(), 102);
    ClickAt(place.GetPosition() + wxSize(place.width / 4, place.height * 3 / 4));
    EXPECT_EQ(m_number->GetValue(), 101);
}

TEST_F(NumberEntryTest, ExchangeRefusesWithAMessageAndGoesBackToTheEntry) {
    int value = 1234;
    m_number->Edit()->ChangeValue("7");
    m_dialog->before->SetFocus();
    Settle();
    bool modal = false;
    Later(700, [this, &modal] {
        modal = !m_dialog->IsActive();
        m_user.Char(WXK_RETURN);
    });
    EXPECT_FALSE(m_number->Exchange(value));
    EXPECT_TRUE(modal);
    EXPECT_EQ(value, 1234);
    Settle();
    EXPECT_EQ(wxWindow::FindFocus(), m_number->Edit());
    EXPECT_EQ(m_number->Edit()->GetStringSelection(), "7");
    m_number->Edit()->ChangeValue("8");
    EXPECT_TRUE(m_number->Exchange(value));
    EXPECT_EQ(value, 8);
}

} // namespace
} // namespace vnxtest
