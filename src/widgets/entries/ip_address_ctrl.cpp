#include "widgets/entries/ip_address_ctrl.h"

#include <algorithm>

#include <wx/arrstr.h>
#include <wx/clipbrd.h>

#include "widgets/accessible_name.h"
#include "widgets/balloon.h"
#include "widgets/control_hints.h"
#include "widgets/entries/ip_address_fields.h"
#include "widgets/make_child.h"

namespace vnxtest {

namespace {

constexpr long kFieldMaximum = 255;

} // namespace

bool IsIpFieldText(const wxString& text) {
    return !text.empty() && text.length() <= kIpFieldDigits &&
           text.find_first_not_of("0123456789") == wxString::npos;
}

bool FitsIpField(const wxString& digits) {
    long value = 0;
    return digits.ToLong(&value) && value <= kFieldMaximum;
}

bool HasTooLargeNumber(const wxString& text) {
    const wxArrayString numbers = wxSplit(text, '.', '\0');
    const auto isNumber = [](const wxString& part) {
        return !part.empty() && part.find_first_not_of("0123456789") == wxString::npos;
    };
    return std::ranges::all_of(numbers, isNumber) && !std::ranges::all_of(numbers, FitsIpField);
}

void RefuseIpField(IpAddressCtrl& control, int field) {
    ErrorBalloon(
        &control, "IP Address",
        wxString::Format("Each of the four numbers of an IP address is at most %ld.", kFieldMaximum));
    control.SetFocusField(field);
}

std::optional<IpFieldTexts> SplitIpAddress(const wxString& text) {
    IpFieldTexts fields;
    wxString rest = wxString(text).Trim(true).Trim(false);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const bool last = i + 1 == fields.size();
        const wxString part = last ? rest : rest.BeforeFirst('.');
        long value = 0;
        if (!IsIpFieldText(part) || !part.ToLong(&value) || value > kFieldMaximum) {
            return std::nullopt;
        }
        fields[i] = wxString::Format("%ld", value);
        rest = rest.AfterFirst('.');
    }
    return fields;
}

wxString ClipboardText() {
    wxTextDataObject data;
    if (wxTheClipboard->Open()) {
        wxTheClipboard->GetData(data);
        wxTheClipboard->Close();
    }
    return data.GetText().Trim(true).Trim(false);
}

void SetClipboardText(const wxString& text) {
    if (wxTheClipboard->Open()) {
        wxTheClipboard->SetData(MakeChild<wxTextDataObject>(text)); // the clipboard owns it
        wxTheClipboard->Close();
    }
}

IpAddressCtrl::IpAddressCtrl(wxWindow* parent, int id, const wxString& accessibleName) {
    Create(parent, id, wxDefaultPosition, wxDefaultSize, wxBORDER_NONE | wxTAB_TRAVERSAL, wxDefaultValidator,
           accessibleName);
    SetAccessibleName(*this, accessibleName);
    TakeFocusByMnemonic(*this);
    m_fields = MakeIpAddressFields(*this, accessibleName, [this] {
        wxCommandEvent event(EVT_IP_ADDRESS_CHANGED, GetId());
        event.SetEventObject(this);
        event.SetString(GetText());
        ProcessWindowEvent(event);
    });
}

IpAddressCtrl::~IpAddressCtrl() {
    DestroyChildren(); // they tell m_fields what happens to them
}

wxString IpAddressCtrl::GetFieldText(int field) const {
    return m_fields->Texts()[static_cast<std::size_t>(field)];
}

wxString IpAddressCtrl::GetText() const {
    wxString text;
    for (const wxString& field : m_fields->Texts()) {
        long value = 0;
        if (!field.ToLong(&value)) {
            return {};
        }
        text += wxString::Format(text.empty() ? "%ld" : ".%ld", value);
    }
    return text;
}

bool IpAddressCtrl::SetText(const wxString& text) {
    const auto fields = SplitIpAddress(text);
    if (fields) {
        m_fields->SetTexts(*fields);
    }
    return fields.has_value();
}

void IpAddressCtrl::Clear() {
    m_fields->SetTexts({});
}

bool IpAddressCtrl::IsBlank() const {
    return std::ranges::all_of(m_fields->Texts(), [](const wxString& text) { return text.empty(); });
}

bool IpAddressCtrl::AreAllFieldsFilled() const {
    return std::ranges::none_of(m_fields->Texts(), [](const wxString& text) { return text.empty(); });
}

void IpAddressCtrl::SetFocusField(int field) {
    m_fields->SetFocusField(field);
}

int IpAddressCtrl::FocusedField() const {
    return m_fields->FocusedField();
}

void IpAddressCtrl::SetFocus() {
    SetFocusField(0);
}

void IpAddressCtrl::SetFocusFromKbd() {
    SetFocusField(0);
}

} // namespace vnxtest
