// Details of controls that a platform's users expect and the toolkit lacks. One source per platform.
// User-interface thread.
#pragma once

class wxButton;
class wxSpinButton;
class wxWindow;

namespace vnxtest {

// Makes the mnemonic of the label before `window`, a control that is made of others, give it the focus.
void TakeFocusByMnemonic(wxWindow& window);

// Shows that Enter presses `button`.
void ShowAsDefault(wxButton& button);

// Makes `button`, which stands beside `entry`, as high as the entry where the platform allows it.
void FitBeside(wxSpinButton& button, const wxWindow& entry);

} // namespace vnxtest
