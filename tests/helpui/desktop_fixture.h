// Tests in real windows: an application, a frame to begin with, and a user who types and clicks by the
// display's own events.
#pragma once

#include <chrono>
#include <functional>
#include <vector>

#include <gtest/gtest.h>
#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/listbox.h>
#include <wx/textctrl.h>
#include <wx/uiaction.h>

#include "helpui/help_button_wnd.h"
#include "helpui/ip_address_ctrl.h"
#include "helpui/mac_entry_ctrl.h"
#include "helpui/number_entry.h"

namespace vnxtest {

// A dialog with one of everything, under the parameters dialog's number.
class ProbeDialog : public CHelpButtonDlg {
public:
    static constexpr int kUnregistered = 4711;

    explicit ProbeDialog(wxWindow* parent);

    wxTextCtrl* before = nullptr; // without a text of its own
    IpAddressCtrl* address = nullptr;
    MacEntryCtrl* mac = nullptr;
    NumberEntry* number = nullptr;
    wxCheckBox* box = nullptr;
    wxListBox* list = nullptr;
    wxButton* disabled = nullptr;
    wxButton* ok = nullptr;
    int okClicks = 0;
};

class DesktopTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // Serves events for a while, or until `reached` says so; false when it did not within some seconds.
    static void Settle(int milliseconds = 120);
    static bool WaitFor(const std::function<bool()>& reached);

    // Shows a window and waits until it has the keyboard.
    static void ShowAndWait(wxTopLevelWindow& window);

    // What a user does; events are served after each.
    void Type(const char* text);
    void Press(int key, int modifiers = wxMOD_NONE);
    void ClickAt(const wxPoint& screen);
    void Click(const wxWindow& window);

    static void SetClipboard(const wxString& text);
    static wxString Clipboard();

    // Does something a little later, inside a modal loop that the caller is about to enter.
    static void Later(int milliseconds, std::function<void()> action);

    wxUIActionSimulator m_user;
    ProbeDialog* m_dialog = nullptr;
};

} // namespace vnxtest
