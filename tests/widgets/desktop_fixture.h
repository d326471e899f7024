// Tests in real windows: an application, a dialog to begin with, and a user who types and clicks by the
// display's own events.
#pragma once

#include <functional>

#include <gtest/gtest.h>
#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/dialog.h>
#include <wx/textctrl.h>
#include <wx/timer.h>
#include <wx/uiaction.h>

#include "widgets/balloon.h"
#include "widgets/entries/ip_address_ctrl.h"
#include "widgets/entries/mac_entry_ctrl.h"
#include "widgets/entries/number_entry.h"

namespace vnxtest {

// A dialog with one of everything.
class ProbeDialog : public wxDialog {
public:
    // The numbers of its controls.
    enum : int { kBefore = 1000, kAddress, kMac, kNumber, kNumberSpin, kBox, kDisabled };

    explicit ProbeDialog(wxWindow* parent) : wxDialog(parent, wxID_ANY, "Probe") {}

    // Makes the controls. Once, behind what is put into the caption.
    void Fill();

    wxTextCtrl* before = nullptr;
    IpAddressCtrl* address = nullptr;
    MacEntryCtrl* mac = nullptr;
    NumberEntry* number = nullptr;
    wxTextCtrl* numberText = nullptr; // its edit
    wxCheckBox* box = nullptr;
    wxButton* disabled = nullptr;
    wxButton* ok = nullptr;
    int okClicks = 0;
};

class DesktopTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // The dialog to begin with.
    virtual ProbeDialog* MakeDialog();

    // Serves events for a while, or until `reached` says so; false when it did not within some seconds.
    static void Settle(int milliseconds = 120);
    static bool WaitFor(const std::function<bool()>& reached);

    // Shows a window and waits until it has the keyboard.
    static void ShowAndWait(wxTopLevelWindow& window);

    // What a user does; events are served after each.
    void Press(int key, int modifiers = wxMOD_NONE);
    void ClickAt(const wxPoint& screen);
    void Click(const wxWindow& window);
    void Paste(const wxString& text);
    // Types a text. L R B D H E are the keys Left, Right, Backspace, Delete, Home and End.
    void Type(const char* keys);

    // The title of the balloon that is shown, else an empty text.
    static wxString Title() { return CurrentBalloon().title; }

    // Does something a little later, inside a modal loop that the caller is about to enter.
    void Later(int milliseconds, std::function<void()> action);

    wxUIActionSimulator m_user;
    ProbeDialog* m_dialog = nullptr;

private:
    wxTimer m_later;
};

} // namespace vnxtest
