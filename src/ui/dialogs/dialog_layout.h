// The layout that the dialogs share: rows of label, control and text, and the OK, Help and Cancel buttons.
// User-interface thread.
#pragma once

#include <wx/button.h>
#include <wx/dialog.h>
#include <wx/sizer.h>

namespace vnxtest {

// The usual gap between controls, for the window's resolution.
int Gap(const wxWindow& window);

// A grid whose rows are a label, a control and a text after it.
wxFlexGridSizer* MakeRows(const wxWindow& window);

// Creates the label, then the control by `make`, so that the label's mnemonic leads to it, and the text
// after it; adds all three as a row. Returns the control.
template <typename Make>
auto AddRow(wxSizer* rows, wxWindow* parent, const wxString& label, Make make,
            const wxString& behind = wxString());

void AddLabel(wxSizer* rows, wxWindow* parent, const wxString& label);

// Enables or disables a control of a row together with its label and the text after it.
void EnableRow(wxWindow& control, bool enable);

// Puts the content over the buttons and gives the dialog the size that both need. Enter is OK, Escape is
// Cancel. On a screen that is too small for it the content scrolls.
void FinishDialog(wxDialog& dialog, wxSizer* content, long buttons = wxOK | wxCANCEL | wxHELP);
// The same with a row of other buttons, of which Enter presses `chosen`.
void FinishDialog(wxDialog& dialog, wxSizer* content, wxBoxSizer& row, wxButton& chosen);

template <typename Make>
auto AddRow(wxSizer* rows, wxWindow* parent, const wxString& label, Make make, const wxString& behind) {
    AddLabel(rows, parent, label);
    auto* const control = make();
    rows->Add(control, wxSizerFlags().Expand());
    AddLabel(rows, parent, behind);
    return control;
}

} // namespace vnxtest
