// What a platform's users expect of a control and the toolkit leaves out. One source per platform.
#pragma once

class wxButton;
class wxSpinButton;
class wxWindow;

namespace vnxtest {

// Makes the mnemonic of the label before `window`, a control that is made of others, give it the focus.
void TakeFocusByMnemonic(wxWindow& window);

// Shows that Enter presses `button`.
void ShowAsDefault(wxButton& button);

// Makes `button`, which stands beside `entry`, as high as that where it can be.
void FitBeside(wxSpinButton& button, const wxWindow& entry);

} // namespace vnxtest
