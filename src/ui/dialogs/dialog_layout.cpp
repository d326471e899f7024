#include "ui/dialogs/dialog_layout.h"

#include <memory>

#include <wx/button.h>
#include <wx/stattext.h>

#include "widgets/control_hints.h"
#include "widgets/make_child.h"

namespace vnxtest {

int Gap(const wxWindow& window) {
    return window.FromDIP(6);
}

wxFlexGridSizer* MakeRows(const wxWindow& window) {
    constexpr int kColumns = 3;
    auto* const rows = MakeChild<wxFlexGridSizer>(kColumns, wxSize(2 * Gap(window), Gap(window)));
    rows->AddGrowableCol(1);
    return rows;
}

void AddLabel(wxSizer* rows, wxWindow* parent, const wxString& label) {
    rows->Add(MakeChild<wxStaticText>(parent, wxID_ANY, label), wxSizerFlags().CentreVertical());
}

void FinishDialog(wxDialog& dialog, wxSizer* content, long buttons) {
    const int gap = Gap(dialog);
    auto* const whole = MakeChild<wxBoxSizer>(wxVERTICAL);
    whole->Add(content, wxSizerFlags(1).Expand().Border(wxALL, 2 * gap));
    if (wxSizer* const row = dialog.CreateStdDialogButtonSizer(buttons)) {
        whole->Add(row, wxSizerFlags().Expand().Border(wxLEFT | wxRIGHT | wxBOTTOM, 2 * gap));
    }
    if (auto* const ok = dynamic_cast<wxButton*>(dialog.FindWindow(wxID_OK))) {
        ShowAsDefault(*ok);
    }
    dialog.SetSizerAndFit(whole);
    dialog.CentreOnParent();
}

} // namespace vnxtest
