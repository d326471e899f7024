// An entry for an IPv4 address: four fields with dots between them, one stop of the Tab key.
//
// Digits only; what grows above 255 becomes 255. A full field, ".", "," and blank move on (when the field
// is not empty); the arrow keys and Backspace and Delete at an end cross into the neighbour; Home and End
// go to the first and the last field. A whole address pasted into any field fills all four; copying a
// field with nothing selected copies the whole address. Tab leaves the control.
// User-interface thread only.
#pragma once

#include <array>

#include <wx/containr.h>
#include <wx/control.h>
#include <wx/event.h>
#include <wx/string.h>

class wxClipboardTextEvent;
class wxTextCtrl;

namespace vnxtest {

// Sent (as a wxCommandEvent, up the parents, with the control's id) after the user changed a field. The
// functions that set the value send nothing.
wxDECLARE_EVENT(EVT_IP_ADDRESS_CHANGED, wxCommandEvent);

class IpAddressCtrl : public wxNavigationEnabled<wxControl> {
public:
    // `accessibleName` is what a screen reader says, like "Guest IP address of interface 1".
    IpAddressCtrl(wxWindow* parent, int id, const wxString& accessibleName);

    // "%d.%d.%d.%d" when all four fields are filled, else the empty text. Leading zeroes are gone.
    wxString GetText() const;
    // Fills the fields from a dotted address (blanks around it allowed). False, and nothing changes, when
    // it is none.
    bool SetText(const wxString& text);
    void Clear();
    // True when all four fields are empty.
    bool IsBlank() const;
    bool AreAllFieldsFilled() const;

    // The text of one field, 0 to 3: "0" to "255" or empty.
    wxString GetFieldText(int field) const;
    // Puts the focus into a field and selects its text.
    void SetFocusField(int field);

    void SetFocus() override;
    void SetFocusFromKbd() override;

private:
    static constexpr int kFields = 4;

    wxTextCtrl* Field(int field) const { return m_fields[static_cast<std::size_t>(field)]; }
    int EntryHeight();
    void OnPaint(wxPaintEvent& event);
    void OnChar(int field, wxKeyEvent& event);
    void OnTypedDigit(int field, wxChar digit);
    void OnSeparator(int field);
    void OnText(int field, wxCommandEvent& event);
    void OnPaste(int field);
    void OnCopy(int field, wxClipboardTextEvent& event);
    // Replaces the selection of a field by digits if they fit, the result at most 255; beeps otherwise.
    bool Insert(int field, const wxString& digits);
    // Puts the caret into another field; false when there is no such field.
    bool MoveTo(int field, long position);
    void EraseAt(int field, long position);
    void LeaveByTab(bool forward);
    void NotifyChange();

    std::array<wxTextCtrl*, kFields> m_fields{};
};

} // namespace vnxtest
