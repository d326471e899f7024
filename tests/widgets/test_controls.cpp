// The address, the MAC and the number entry, driven by a user's keys and clicks.
#include "widgets/desktop_fixture.h"

#include <vector>

#include <wx/clipbrd.h>

namespace vnxtest {
namespace {

class AddressTest : public DesktopTest {
protected:
    // The fields, a blank one as "_".
    wxString Fields() const {
        wxString text;
        for (int i = 0; i < 4; ++i) {
            const wxString field = m_dialog->address->GetFieldText(i);
            text += (i == 0 ? "" : " ") + (field.empty() ? wxString("_") : field);
        }
        return text;
    }
    int Focus() const { return m_dialog->address->FocusedField(); }
    // Where the system has such a control, it crosses between its fields in its own way.
    bool IsSystemsOwn() const { return m_dialog->address->GetChildren().size() == 1; }
};

TEST_F(AddressTest, Typing) {
    const struct {
        const char* before; // the address at first, "" for none
        int field;          // that is entered, its text selected
        const char* keys;
        const char* fields;
        int focus;
        bool ours = false; // not where the control is the system's
    } cases[] = {
        {"", 0, "192168.1.7", "192 168 1 7", 3},              // a full field and a dot move on
        {"", 0, "192.168.0.1", "192 168 0 1", 3},             // a dot behind a full field skips none
        {"", 0, "10..2", "10 2 _ _", 1},                      // nor do two dots
        {"", 0, "30.99.a-1", "30 99 1 _", 2},                 // no digits
        {"", 0, "300999.a-1", "1 _ _ _", 0},                  // too large: refused, and typed over
        {"1.2.3.4", 3, "2560", "1 2 3 0", 3},                 // the same in the last one
        {"1.2.3.4", 3, "2550", "1 2 3 255", 3},               // full: refused
        {"198.18.0.254", 0, "198.18.0.77", "198 18 0 77", 3}, // over another address
        {"1.2.3.4", 1, "L5", "1 52 3 4", 1},                  // at the caret
        {"10.20.30.40", 2, "LLR", "10 20 30 40", 2, true},    // the caret drops the selection and crosses
        {"10.20.30.40", 2, "LBD", "10 2 0 40", 2, true},      // Backspace and Delete cross, too
        {"10.20.30.40", 2, "HB9", "10 20 30 40", 0, true},    // nothing before the first
        {"10.20.30.40", 0, "EBB", "10 20 30 _", 3, true},     // emptied
        {"10.20.30.40", 3, "BB", "10 20 3 _", 2, true},       // then on into the field before
    };
    for (const auto& each : cases) {
        if (each.ours && IsSystemsOwn()) {
            continue;
        }
        SCOPED_TRACE(each.keys);
        m_dialog->address->Clear();
        m_dialog->address->SetText(each.before);
        m_dialog->address->SetFocusField(each.field);
        Settle();
        Type(each.keys);
        EXPECT_EQ(Fields(), each.fields);
        EXPECT_EQ(Focus(), each.focus);
    }
}

TEST_F(AddressTest, TellsOfANumberThatIsTooLarge) {
    m_dialog->address->SetText("10.20.30.40");
    for (const char* const pasted : {"", "300", "10.1.2.256"}) {
        m_dialog->address->SetFocusField(2);
        Settle();
        EXPECT_EQ(Title(), "");
        if (*pasted != '\0') {
            Paste(pasted);
        } else {
            Type("300");
        }
        EXPECT_EQ(Title(), "IP Address");
        EXPECT_EQ(CurrentBalloon().text, "Each of the four numbers of an IP address is at most 255.");
        EXPECT_EQ(Fields(), "10 20 30 40");
        EXPECT_EQ(Focus(), 2);
        Press(WXK_ESCAPE);
    }
}

TEST_F(AddressTest, PasteFillsAllFieldsOrOneOrNothingAndCopyTakesAll) {
    std::vector<wxString> reported;
    m_dialog->Bind(EVT_IP_ADDRESS_CHANGED,
                   [&reported](wxCommandEvent& event) { reported.push_back(event.GetString()); });
    m_dialog->address->SetFocusField(2);
    Paste("  10.1.2.3\n");
    EXPECT_EQ(Fields(), "10 1 2 3");
    m_dialog->address->SetFocusField(1);
    Paste("77");
    EXPECT_EQ(reported, (std::vector<wxString>{"10.1.2.3", "10.77.2.3"}));
    for (const char* nonsense : {"10.1.2.3.4", "10.1.2", "10.1.2.256", "hello", "1e2", "-5", "12345"}) {
        m_dialog->address->SetFocusField(1);
        Paste(nonsense);
        EXPECT_EQ(Fields(), "10 77 2 3") << nonsense;
        EXPECT_FALSE(m_dialog->address->SetText(nonsense)) << nonsense;
    }
    Press('C', wxMOD_CONTROL);
    wxTextDataObject data;
    ASSERT_TRUE(wxTheClipboard->Open());
    wxTheClipboard->GetData(data);
    wxTheClipboard->Close();
    EXPECT_EQ(data.GetText(), "10.77.2.3");
    EXPECT_TRUE(m_dialog->address->SetText(" 010.001.0.255 "));
    EXPECT_EQ(m_dialog->address->GetText(), "10.1.0.255");
    EXPECT_EQ(reported.size(), 2U); // the program's own changes are nobody's news
}

TEST_F(AddressTest, IsOneStopOfTheTabKeyAndOneTargetOfItsMnemonicAndOfClicks) {
    m_dialog->address->SetText("1.2.3.4");
    m_dialog->before->SetFocus();
    Press(WXK_TAB);
    EXPECT_EQ(Focus(), 0);
    Type("5.6."); // on to the third
    Press(WXK_TAB);
    EXPECT_EQ(wxWindow::FindFocus(), m_dialog->mac);
    Press(WXK_TAB, wxMOD_SHIFT);
    EXPECT_EQ(Focus(), 0);
    Press(WXK_TAB, wxMOD_SHIFT);
    EXPECT_EQ(wxWindow::FindFocus(), m_dialog->before);
    Press('A', wxMOD_ALT);
    EXPECT_EQ(Focus(), 0);
    Press('N', wxMOD_ALT); // out of the control
    EXPECT_EQ(wxWindow::FindFocus(), m_dialog->numberText);
    const wxRect place = m_dialog->address->GetScreenRect();
    // Beside the fields where they are ours.
    ClickAt(IsSystemsOwn() ? wxPoint(place.x + place.width * 7 / 8, place.y + place.height / 2)
                           : wxPoint(place.GetRight() - 2, place.y + 2));
    EXPECT_EQ(Focus(), 3);
}

TEST_F(DesktopTest, MacEntryKeepsTheFormAndNeverShowsWhatItRefuses) {
    MacEntryCtrl& mac = *m_dialog->mac;
    std::vector<wxString> reported;
    mac.Bind(wxEVT_TEXT, [&reported](wxCommandEvent& event) { reported.push_back(event.GetString()); });
    mac.SetFocus();
    const struct {
        const wchar_t* before;
        long caret;
        const char* keys;
        const wchar_t* after;
    } cases[] = {
        {L"", 0, "02005e8000045", L"02-00-5e-80-00-04"}, // one more than fits
        {L"", 0, "02:005e-80", L"02:00:5e:80"},          // the first separator is kept
        {L"", 0, "02xg-zz", L"02-"},
        {L"02-", 3, "BB", L"0"},
        {L"02-00-5e", 2, "D", L"02-00-5e"}, // would break the form
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.keys);
        mac.SetMac(each.before);
        mac.SetInsertionPoint(each.caret);
        Type(each.keys);
        EXPECT_EQ(mac.GetMac(), each.after);
    }
    const std::pair<const char*, const wchar_t*> pastes[] = {{" 02-00-5E-80-00-04\n", L"02-00-5E-80-00-04"},
                                                             {"02005E800005", L"02-00-5E-80-00-05"},
                                                             {"not an address", L"02-00-5E-80-00-05"}};
    for (const auto& [text, after] : pastes) {
        mac.SelectAll();
        Paste(text);
        EXPECT_EQ(mac.GetMac(), after) << text;
    }
    for (const wxString& text : reported) {
        EXPECT_EQ(text.find_first_of("xgzn "), wxString::npos) << text;
    }
}

TEST_F(DesktopTest, NumberEntryTakesDigitsStepsInItsRangeAndJudgesItWhenAsked) {
    NumberEntry& number = *m_dialog->number;
    number.SetFocus();
    Type("-99x 9.e99"); // over the selected text
    EXPECT_EQ(number.GetValue(), 99999);
    m_dialog->numberText->SelectAll();
    Paste(" 12\n");
    EXPECT_EQ(m_dialog->numberText->GetValue(), "12");
    Paste("3x4");
    EXPECT_EQ(m_dialog->numberText->GetValue(), "1234");
    number.SetValue(99999);
    Press(WXK_UP);
    EXPECT_EQ(number.GetValue(), 65507);
    number.SetPosition(1);
    Press(WXK_DOWN);
    EXPECT_EQ(number.GetValue(), 8);
    const wxRect place = wxWindow::FindWindowById(ProbeDialog::kNumberSpin, &number)->GetScreenRect();
    ClickAt(place.GetPosition() + wxSize(place.width * 3 / 4, place.height / 4));
    ClickAt(place.GetPosition() + wxSize(place.width * 3 / 4, place.height / 4));
    ClickAt(place.GetPosition() + wxSize(place.width / 4, place.height * 3 / 4));
    EXPECT_EQ(number.GetValue(), 9);
    // The bounds themselves are tried in the real dialogs, by tests/ui.
    const char* const kRange = "Enter an integer between 8 and 65507.";
    for (const auto& [text, message] : {std::pair{" 9 ", ""},
                                        {"-1", kRange},
                                        {"99999999999999999999", kRange},
                                        {"8x", "Enter an integer."}}) {
        m_dialog->numberText->ChangeValue(text);
        EXPECT_EQ(number.RangeMessage(), message) << text;
    }
}

} // namespace
} // namespace vnxtest
