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

void EnableRow(wxWindow& control, bool enable) {
    control.Enable(enable);
    wxSizer& rows = *control.GetContainingSizer();
    const wxSizerItemList& items = rows.GetChildren();
    const int place = items.IndexOf(rows.GetItem(&control));
    const auto window = [&items](int at) {
        return items.Item(static_cast<std::size_t>(at))->GetData()->GetWindow();
    };
    window(place - 1)->Enable(enable);
    window(place + 1)->Enable(enable);
    SetMnemonicTarget(*window(place - 1), control);
}

void FinishDialog(wxDialog& dialog, wxSizer* content, long buttons) {
    wxBoxSizer* const row = dialog.CreateStdDialogButtonSizer(buttons);
    FinishDialog(dialog, content, *row, *dynamic_cast<wxButton*>(dialog.FindWindow(wxID_OK)));
}

void FinishDialog(wxDialog& dialog, wxSizer* content, wxBoxSizer& row, wxButton& chosen) {
    const int gap = Gap(dialog);
    auto* const whole = MakeChild<wxBoxSizer>(wxVERTICAL);
    whole->Add(content, wxSizerFlags(1).Expand().Border(wxALL, 2 * gap));
    row.SetOrientation(wxHORIZONTAL); // on a small screen the toolkit stacks the buttons, over most of it
    whole->Add(&row, wxSizerFlags().Expand().Border(wxLEFT | wxRIGHT | wxBOTTOM, 2 * gap));
    chosen.SetDefault();
    ShowAsDefault(chosen);
    // The toolkit's: the buttons stay in view.
    dialog.SetLayoutAdaptationMode(wxDIALOG_ADAPTATION_MODE_ENABLED);
    dialog.SetSizerAndFit(whole);
    ShowScrolledAtOnce(dialog);
    dialog.CentreOnParent();
}

} // namespace vnxtest
