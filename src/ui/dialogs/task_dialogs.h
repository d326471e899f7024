// The questions shown as task dialogs. One source per platform: the system's own on Windows, dialogs that
// look like them elsewhere. User-interface thread only.
#pragma once

#include "guest/front_end.h"

class wxString;
class wxWindow;

namespace vnxtest {

// Asked before a start that is likely to fail, over `parent`. Cancel is the default button. Returns
// kProceedButton or kCancelButton; kCancelButton if the dialog cannot be shown.
int ShowProceedTaskDialog(wxWindow* parent, const ProceedQuestion& question);

inline constexpr int kSaveButton = 6;
inline constexpr int kDontSaveButton = 7;

// "Do you want to save changes to %s?", with `name` put in. Cancel is the default button. Returns
// kSaveButton, kDontSaveButton or kCancelButton; 0 if the dialog cannot be shown.
int ShowSaveTaskDialog(wxWindow* parent, const wxString& name);

// Asked for a gateway that does not answer. `fix` is the default button, and what Escape chooses. True if
// the user chooses the button `use`.
bool ShowGatewayTaskDialog(wxWindow* parent, const wxString& instruction, const wxString& content,
                           const wxString& use, const wxString& fix);

} // namespace vnxtest
