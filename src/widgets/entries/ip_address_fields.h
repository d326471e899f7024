// The four fields of an address entry. One source per platform: the system's own control on Windows, four
// entries in one frame elsewhere. What the platforms share is in ip_address_ctrl.cpp.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <optional>

#include <wx/string.h>

namespace vnxtest {

class IpAddressCtrl;

inline constexpr int kIpFields = 4;
using IpFieldTexts = std::array<wxString, kIpFields>;

// User-interface thread only.
class IpAddressFields {
public:
    virtual ~IpAddressFields() = default;

    // "0" to "255" or empty; while a field is being typed into, its text.
    virtual IpFieldTexts Texts() const = 0;
    // Sends no event.
    virtual void SetTexts(const IpFieldTexts& texts) = 0;
    // Puts the focus into a field and selects its text.
    virtual void SetFocusField(int field) = 0;
    // The field that has the focus, or -1.
    virtual int FocusedField() const = 0;
};

// Fills `control`, which has been created, with the fields and gives it its smallest size. `changed` is
// called after the user changed a field.
std::unique_ptr<IpAddressFields> MakeIpAddressFields(IpAddressCtrl& control, const wxString& accessibleName,
                                                     std::function<void()> changed);

// A field takes one to three decimal digits, up to 255.
inline constexpr unsigned kIpFieldDigits = 3;
bool IsIpFieldText(const wxString& text);
// True if the digits are 255 at most.
bool FitsIpField(const wxString& digits);
// True for numbers with dots between them of which one is too large for a field.
bool HasTooLargeNumber(const wxString& text);
// Shows that a number is too large for the field, which keeps its text. The text is selected, so that
// further typing replaces it: no unintended address arises unseen.
void RefuseIpField(IpAddressCtrl& control, int field);
// The four numbers of a dotted address in decimal (blanks around it allowed); nullopt if it is not one.
std::optional<IpFieldTexts> SplitIpAddress(const wxString& text);

// The text on the clipboard without blanks at its ends, and putting one there.
wxString ClipboardText();
void SetClipboardText(const wxString& text);

} // namespace vnxtest
