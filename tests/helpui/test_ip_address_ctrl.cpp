// The address control in the hands of a user.
#include "helpui/desktop_fixture.h"

namespace vnxtest {
namespace {

class IpAddressTest : public DesktopTest {
protected:
    void SetUp() override {
        DesktopTest::SetUp();
        m_address = m_dialog->address;
        m_dialog->Bind(EVT_IP_ADDRESS_CHANGED, [this](wxCommandEvent& event) {
            m_reported.push_back(event.GetString());
            EXPECT_EQ(event.GetId(), m_address->GetId());
        });
        m_address->SetFocus();
        Settle();
    }

    // The fields, a blank one as "_".
    wxString Fields() const {
        wxString text;
        for (int i = 0; i < 4; ++i) {
            const wxString field = m_address->GetFieldText(i);
            text += (i == 0 ? "" : " ") + (field.empty() ? wxString("_") : field);
        }
        return text;
    }

    int FocusField() const {
        const wxWindow* focus = wxWindow::FindFocus();
        int index = 0;
        for (const wxWindow* child : m_address->GetChildren()) {
            if (dynamic_cast<const wxTextCtrl*>(child) != nullptr) {
                if (child == focus) {
                    return index;
                }
                ++index;
            }
        }
        return -1;
    }

    IpAddressCtrl* m_address = nullptr;
    std::vector<wxString> m_reported;
};

TEST_F(IpAddressTest, AFullFieldAndADotMoveOn) {
    Type("192168.1.7");
    EXPECT_EQ(Fields(), "192 168 1 7");
    EXPECT_EQ(m_address->GetText(), "192.168.1.7");
    EXPECT_TRUE(m_address->AreAllFieldsFilled());
    ASSERT_FALSE(m_reported.empty());
    EXPECT_EQ(m_reported.back(), "192.168.1.7");
    EXPECT_EQ(m_reported.front(), ""); // not all fields filled yet
}

TEST_F(IpAddressTest, ADotBehindAFullFieldSkipsNone) {
    Type("192.168.0.1");
    EXPECT_EQ(Fields(), "192 168 0 1");
    m_address->Clear();
    m_address->SetFocusField(0);
    Settle();
    Type("10..2");
    EXPECT_EQ(Fields(), "10 2 _ _");
}

TEST_F(IpAddressTest, WhatIsTooLargeBecomes255AndLettersAreRefused) {
    Type("300999.a-1");
    EXPECT_EQ(Fields(), "255 255 1 _");
    m_address->SetFocusField(3);
    Settle();
    Type("2560");
    EXPECT_EQ(Fields(), "255 255 1 255");
}

TEST_F(IpAddressTest, CaretKeysAndDeletingCrossFields) {
    ASSERT_TRUE(m_address->SetText("10.20.30.40"));
    m_address->SetFocusField(2);
    Settle();
    Press(WXK_LEFT); // drops the selection
    Press(WXK_LEFT); // crosses
    EXPECT_EQ(FocusField(), 1);
    Press(WXK_RIGHT);
    EXPECT_EQ(FocusField(), 2);
    Press(WXK_BACK); // at the start of "30": takes the "0" of "20"
    EXPECT_EQ(FocusField(), 1);
    EXPECT_EQ(Fields(), "10 2 30 40");
    Press(WXK_DELETE); // at the end of "2": takes the "3" of "30"
    EXPECT_EQ(FocusField(), 2);
    EXPECT_EQ(Fields(), "10 2 0 40");
    Press(WXK_HOME);
    EXPECT_EQ(FocusField(), 0);
    Press(WXK_BACK); // nothing before the first field
    EXPECT_EQ(Fields(), "10 2 0 40");
    Press(WXK_END);
    EXPECT_EQ(FocusField(), 3);
    Press(WXK_BACK);
    Press(WXK_BACK);
    EXPECT_EQ(Fields(), "10 2 0 _");
    EXPECT_FALSE(m_address->AreAllFieldsFilled());
    EXPECT_EQ(m_address->GetText(), "");
}

TEST_F(IpAddressTest, PasteFillsAllFieldsOrOneOrNothing) {
    m_address->SetFocusField(2);
    SetClipboard("  10.1.2.3\n");
    Press('V', wxMOD_CONTROL);
    EXPECT_EQ(Fields(), "10 1 2 3");
    EXPECT_EQ(m_reported, std::vector<wxString>{"10.1.2.3"});
    m_address->SetFocusField(1);
    SetClipboard("77");
    Press('V', wxMOD_CONTROL);
    EXPECT_EQ(Fields(), "10 77 2 3");
    for (const char* nonsense : {"10.1.2.3.4", "10.1.2", "10.1.2.256", "hello", "1e2", "-5", "12345"}) {
        m_address->SetFocusField(1);
        SetClipboard(nonsense);
        Press('V', wxMOD_CONTROL);
        EXPECT_EQ(Fields(), "10 77 2 3") << nonsense;
    }
    m_address->SetFocusField(0);
    Press('C', wxMOD_CONTROL);
    EXPECT_EQ(Clipboard(), "10.77.2.3");
}

TEST_F(IpAddressTest, IsOneStopOfTheTabKey) {
    m_address->SetText("1.2.3.4");
    m_dialog->before->SetFocus();
    Settle();
    Press(WXK_TAB);
    EXPECT_EQ(FocusField(), 0);
    Press(WXK_TAB);
    EXPECT_EQ(wxWindow::FindFocus(), m_dialog->mac);
    Press(WXK_TAB, wxMOD_SHIFT);
    EXPECT_NE(FocusField(), -1);
    Press(WXK_TAB, wxMOD_SHIFT);
    EXPECT_EQ(wxWindow::FindFocus(), m_dialog->before);
}

TEST_F(IpAddressTest, ProgramsSetItSilentlyAndCompletely) {
    EXPECT_TRUE(m_address->IsBlank());
    EXPECT_TRUE(m_address->SetText("010.001.0.255"));
    EXPECT_EQ(m_address->GetText(), "10.1.0.255");
    for (const char* nonsense : {"", "1.2.3", "1.2.3.4.5", "1.2.3.x", "1..2.3", "256.1.1.1", "1.2.3.4 5"}) {
        EXPECT_FALSE(m_address->SetText(nonsense)) << nonsense;
        EXPECT_EQ(m_address->GetText(), "10.1.0.255") << nonsense;
    }
    m_address->Clear();
    EXPECT_TRUE(m_address->IsBlank());
    EXPECT_EQ(m_address->GetText(), "");
    EXPECT_TRUE(m_reported.empty());
}

TEST_F(IpAddressTest, DisabledItTakesNothing) {
    m_address->SetText("1.2.3.4");
    m_address->Disable();
    Click(*m_address);
    Type("9");
    EXPECT_EQ(m_address->GetText(), "1.2.3.4");
    EXPECT_EQ(FocusField(), -1);
    m_address->Enable();
    m_address->SetFocus();
    Settle();
    Type("9");
    EXPECT_EQ(m_address->GetText(), "9.2.3.4");
}

} // namespace
} // namespace vnxtest
