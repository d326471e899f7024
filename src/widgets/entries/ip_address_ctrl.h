// An entry for an IPv4 address: four fields with dots between them, one stop of the Tab key.
//
// Digits only, and nothing above 255. A full field, ".", "," and blank move on; the arrow keys, Backspace,
// Home and End do what the system's own control does, where there is one. A whole address pasted into any
// field fills all four; copying a field with nothing selected copies the whole address. Tab leaves the
// control. User-interface thread only.
#pragma once

#include <memory>

#include <wx/containr.h>
#include <wx/control.h>
#include <wx/string.h>

#include "widgets/entry_events.h"

namespace vnxtest {

class IpAddressFields;

// Sends EVT_IP_ADDRESS_CHANGED.
class IpAddressCtrl : public wxNavigationEnabled<wxControl> {
public:
    // `accessibleName` is what a screen reader says, like "Guest IP address of interface 1".
    IpAddressCtrl(wxWindow* parent, int id, const wxString& accessibleName);
    IpAddressCtrl(const IpAddressCtrl&) = delete;
    IpAddressCtrl& operator=(const IpAddressCtrl&) = delete;
    ~IpAddressCtrl() override;

    // "%d.%d.%d.%d" without leading zeroes if all four fields are filled, else empty.
    wxString GetText() const;
    // Fills the fields from a dotted address (blanks around it allowed). False, without a change, if it is
    // not one.
    bool SetText(const wxString& text);
    void Clear();
    // True if all four fields are empty.
    bool IsBlank() const;
    bool AreAllFieldsFilled() const;

    // The text of one field, 0 to 3: "0" to "255" or empty.
    wxString GetFieldText(int field) const;
    // Puts the focus into a field and selects its text.
    void SetFocusField(int field);
    // The field that has the focus, or -1.
    int FocusedField() const;

    void SetFocus() override;
    void SetFocusFromKbd() override;

private:
    std::unique_ptr<IpAddressFields> m_fields;
};

} // namespace vnxtest
