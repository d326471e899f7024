// An entry for a whole number with an up-down control beside it. What is typed stays as typed; whether it
// is in range is asked when the dialog is confirmed.
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

    // The range of the up-down control and of Exchange. Both ends count.
    void SetRange(int minimum, int maximum);
    // The position of the up-down control, brought into its range, and with it the edit's text.
    void SetPosition(int value);
    // The edit's text alone, as the dialog's data exchange sets it; may be out of range.
    void SetValue(int value);
    // What the edit holds, whether in range or not; nothing when it is no whole number of 32 bits.
    std::optional<int> GetValue() const;

    // The message for a number that is refused: "Enter an integer between 8 and 65507." or, when there is
    // no number at all, "Enter an integer.". Empty when the number is in range.
    wxString RangeMessage() const;

    // The data exchange on OK: takes the number into `value` when it is in range. Otherwise shows the
    // range message (a message box over the dialog), then puts the focus into the edit with its text
    // selected, leaves `value` alone and returns false.
    bool Exchange(int& value);

    void SetFocus() override;

private:
    void OnSpin(wxSpinEvent& event, int step);
    void OnKey(wxKeyEvent& event);
    void Step(int step);
    void NotifyChange();

    wxTextCtrl* m_edit = nullptr;
    wxSpinButton* m_spin = nullptr;
    int m_minimum = 0;
    int m_maximum = 100;
};

} // namespace vnxtest
