#include "widgets/control_hints.h"

#include <wx/settings.h>
#include <wx/spinbutt.h>
#include <wx/statbox.h>

namespace vnxtest {

// A mnemonic leads to the next control that takes the focus, the first of those within a control too.
void TakeFocusByMnemonic(wxWindow&) {}

// The system looks for the control behind the label each time.
void SetMnemonicTarget(wxWindow&, wxWindow&) {}

// The system marks the default button itself.
void ShowAsDefault(wxButton&) {}

// The toolkit paints it as enabled.
void ShowLabelsAsEnabled(wxWindow& group) {
    group.SetForegroundColour(group.IsEnabled() ? wxNullColour
                                                : wxSystemSettings::GetColour(wxSYS_COLOUR_GRAYTEXT));
    group.Refresh();
    for (wxWindow* const child : group.GetChildren()) {
        if (dynamic_cast<wxStaticBox*>(child) != nullptr) {
            ShowLabelsAsEnabled(*child);
        }
    }
}

bool ScrollSideways(wxWindow&, bool) {
    return false;
}

void FitBeside(wxSpinButton& button, const wxWindow& entry) {
    const wxSize size(button.GetBestSize().x, entry.GetBestSize().y);
    button.SetMinSize(size);
    button.SetMaxSize(size);
}

// They do.
void ShowScrolledAtOnce(wxDialog&) {}

} // namespace vnxtest
