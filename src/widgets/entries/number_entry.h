// An entry for a whole number with an up-down control beside it. It takes digits only; the range of the
// number is checked when the dialog is confirmed. User-interface thread.
#pragma once

#include <optional>

#include <wx/panel.h>
#include <wx/string.h>

#include "widgets/entry_events.h"

class wxSpinButton;
class wxSpinEvent;
class wxTextCtrl;

namespace vnxtest {

// Sends EVT_NUMBER_CHANGED.
class NumberEntry : public wxPanel {
public:
    // The edit has `editId`, its up-down control `spinId`. `accessibleName` is what a screen reader says.
    NumberEntry(wxWindow* parent, int editId, int spinId, const wxString& accessibleName);

    // The range of the up-down control and of Exchange(), ends included.
    void SetRange(int minimum, int maximum);
    // The position of the up-down control, brought into its range, and with it the edit's text.
    void SetPosition(int value);
    // Sets the edit's text; the value may be out of range.
    void SetValue(int value);
    // The edit's number, in range or not; nullopt if it is no whole number of 32 bits.
    std::optional<int> GetValue() const;

    // The message for a number that is refused: "Enter an integer between 8 and 65507." or, without a
    // number, "Enter an integer.". Empty if the number is in range.
    wxString RangeMessage() const;

    // The data exchange on OK: stores the number in `value` if it is in range. Otherwise shows the range
    // message in a message box, sets the focus to the edit with its text selected, and returns false;
    // `value` is unchanged.
    bool Exchange(int& value);

    void SetFocus() override;

private:
    void OnSpin(wxSpinEvent& event, int step);
    void OnKey(wxKeyEvent& event);
    void KeepDigits();
    void Step(int step);
    void NotifyChange();

    wxTextCtrl* m_edit = nullptr;
    wxSpinButton* m_spin = nullptr;
    int m_minimum = 0;
    int m_maximum = 100;
};

} // namespace vnxtest
