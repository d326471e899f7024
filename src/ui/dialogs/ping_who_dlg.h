// The ping-who dialog: the interface, the target, and the four numbers of a ping test. The target is
// resolved on OK, on a thread of its own, so that no test starts without an address; Cancel ends the wait.
// User-interface thread.
#pragma once

#include <optional>

#include "guest/front_end.h"
#include "helpui/help_button_wnd.h"
#include "ping/target.h"

class wxRadioButton;
class wxStaticText;
class wxTextCtrl;

namespace vnxtest {

class NumberEntry;

class CPingWhoDlg final : public CHelpButtonDlg {
public:
    // `parameters` holds the values to show; OK puts the confirmed ones there, the target resolved.
    CPingWhoDlg(wxWindow* parent, PingWhoParameters& parameters);
    ~CPingWhoDlg() override;

protected:
    bool TransferDataToWindow() override;
    bool TransferDataFromWindow() override;

private:
    // Stores what the controls hold. False, after the range message, if a number is out of range.
    bool TakeNumbers();
    void OnConfirm();
    void OnLookupEnd();
    void OnCancel(wxCommandEvent& event);
    void ShowWaiting(bool waiting);

    PingWhoParameters& m_parameters;
    PingWhoParameters m_confirmed;
    wxRadioButton* m_interface1 = nullptr;
    wxRadioButton* m_interface2 = nullptr;
    wxTextCtrl* m_to = nullptr;
    NumberEntry* m_size = nullptr;
    NumberEntry* m_count = nullptr;
    NumberEntry* m_timeout = nullptr;
    NumberEntry* m_delay = nullptr;
    wxStaticText* m_waiting = nullptr;    // shown while the target is looked up
    std::optional<TargetLookup> m_lookup; // nullopt after it has ended or was given up
};

} // namespace vnxtest
