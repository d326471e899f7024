#include "widgets/control_hints.h"

#include <wx/spinbutt.h>

namespace vnxtest {

// A mnemonic leads to the next control that takes the focus, the first of those within a control too.
void TakeFocusByMnemonic(wxWindow&) {}

// The system marks the default button itself.
void ShowAsDefault(wxButton&) {}

void FitBeside(wxSpinButton& button, const wxWindow& entry) {
    const wxSize size(button.GetBestSize().x, entry.GetBestSize().y);
    button.SetMinSize(size);
    button.SetMaxSize(size);
}

} // namespace vnxtest
