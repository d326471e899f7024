// Details of controls that a platform's users expect and the toolkit lacks. One source per platform.
// User-interface thread.
#pragma once

class wxButton;
class wxDialog;
class wxSpinButton;
class wxWindow;

namespace vnxtest {

// Makes the mnemonic of the label before `window`, a control that is made of others, give it the focus.
void TakeFocusByMnemonic(wxWindow& window);

// Makes the mnemonic of `label` lead to `control`, though it was disabled or had another parent when the
// toolkit looked for one.
void SetMnemonicTarget(wxWindow& label, wxWindow& control);

// Shows that Enter presses `button`.
void ShowAsDefault(wxButton& button);

// Draws the label of `group`, a box, and those of boxes in it as what they are: enabled or not.
void ShowLabelsAsEnabled(wxWindow& group);

// Scrolls `list` a step to the left or to the right. False if the system's own keys do so.
bool ScrollSideways(wxWindow& list, bool right);

// Makes `button`, which stands beside `entry`, as high as the entry where the platform allows it.
void FitBeside(wxSpinButton& button, const wxWindow& entry);

// Lets the contents of `dialog`, which the toolkit makes scroll when it is shown on a small screen, take keys
// from the start, and shows their scroll bars all the time.
void ShowScrolledAtOnce(wxDialog& dialog);

} // namespace vnxtest
