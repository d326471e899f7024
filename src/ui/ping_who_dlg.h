// The ping-who dialog: from which interface, whom, and the four numbers of a ping test. The target is
// resolved on OK, so that no test starts with one that cannot be.
#pragma once

#include "guest/front_end.h"
#include "helpui/help_button_wnd.h"

class wxRadioButton;
class wxTextCtrl;

namespace vnxtest {

class NumberEntry;

class CPingWhoDlg final : public CHelpButtonDlg {
public:
    // `parameters` holds the values to show; OK puts the confirmed ones there, the target resolved.
    CPingWhoDlg(wxWindow* parent, PingWhoParameters& parameters);

protected:
    bool TransferDataToWindow() override;
    bool Validate() override;
    bool TransferDataFromWindow() override;

private:
    bool ValidateTargetField();

    PingWhoParameters& m_parameters;
    PingWhoParameters m_confirmed;
    wxRadioButton* m_interface1 = nullptr;
    wxRadioButton* m_interface2 = nullptr;
    wxTextCtrl* m_to = nullptr;
    NumberEntry* m_size = nullptr;
    NumberEntry* m_count = nullptr;
    NumberEntry* m_timeout = nullptr;
    NumberEntry* m_delay = nullptr;
};

} // namespace vnxtest
