#include "helpui/ip_address_ctrl.h"

#include <algorithm>
#include <optional>
#include <string>

#include <wx/clipbrd.h>
#include <wx/dcclient.h>
#include <wx/renderer.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/utils.h>

#include "helpui/accessible_name.h"
#include "helpui/control_hints.h"
#include "helpui/frameless_entry.h"
#include "helpui/make_child.h"
#include "wrenlib/address.h"
#include "wrenlib/text.h"

namespace vnxtest {

wxDEFINE_EVENT(EVT_IP_ADDRESS_CHANGED, wxCommandEvent);

namespace {

constexpr unsigned kFieldDigits = 3;
constexpr long kFieldMaximum = 255;

bool IsDigits(const wxString& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == wxString::npos;
}

// What a field makes of digits: at most 255.
wxString Clamped(const wxString& digits) {
    long value = 0;
    return digits.ToLong(&value) && value <= kFieldMaximum ? digits : wxString::Format("%ld", kFieldMaximum);
}

// The four numbers of a dotted address in decimal, or nothing.
std::optional<std::array<wxString, 4>> SplitAddress(const wxString& text) {
    std::array<wxString, 4> fields;
    wxString rest = wxString(text).Trim(true).Trim(false);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        const bool last = i + 1 == fields.size();
        const wxString part = last ? rest : rest.BeforeFirst('.');
        long value = 0;
        if (!IsDigits(part) || part.length() > kFieldDigits || !part.ToLong(&value) ||
            value > kFieldMaximum) {
            return std::nullopt;
        }
        fields[i] = wxString::Format("%ld", value);
        rest = rest.AfterFirst('.');
    }
    return fields;
}

} // namespace

int IpAddressCtrl::EntryHeight() {
    auto* entry = MakeChild<wxTextCtrl>(this, wxID_ANY);
    const int height = entry->GetBestSize().y;
    entry->Destroy();
    return height;
}

IpAddressCtrl::IpAddressCtrl(wxWindow* parent, int id, const wxString& accessibleName) {
    Create(parent, id, wxDefaultPosition, wxDefaultSize, wxBORDER_NONE | wxTAB_TRAVERSAL, wxDefaultValidator,
           accessibleName);
    SetAccessibleName(*this, accessibleName);
    TakeFocusByMnemonic(*this);
    // One frame around all fields, drawn as an entry; the fields have none.
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    Bind(wxEVT_PAINT, &IpAddressCtrl::OnPaint, this);
    // Beside the fields it is still the control that is clicked.
    Bind(wxEVT_LEFT_DOWN, [this](wxMouseEvent& event) {
        SetFocusField(std::clamp(event.GetX() * kFields / GetClientSize().x, 0, kFields - 1));
    });
    auto* row = MakeChild<wxBoxSizer>(wxHORIZONTAL);
    for (int i = 0; i < kFields; ++i) {
        if (i > 0) {
            auto* dot = MakeChild<wxStaticText>(this, wxID_ANY, ".");
            dot->Bind(wxEVT_LEFT_DOWN, [this, i](wxMouseEvent&) { SetFocusField(i); });
            row->Add(dot, wxSizerFlags().CentreVertical());
        }
        auto* field = MakeChild<wxTextCtrl>(this, wxID_ANY, wxEmptyString, wxDefaultPosition, wxDefaultSize,
                                            wxTE_CENTRE | wxTE_PROCESS_TAB | wxBORDER_NONE);
        MakeFrameless(*field);
        field->SetMaxLength(kFieldDigits);
        field->SetInitialSize(field->GetSizeFromText("0000"));
        SetAccessibleName(*field, wxString::Format("%s, field %d of %d", accessibleName, i + 1, kFields));
        field->Bind(wxEVT_CHAR, [this, i](wxKeyEvent& event) { OnChar(i, event); });
        field->Bind(wxEVT_TEXT, [this, i](wxCommandEvent& event) { OnText(i, event); });
        field->Bind(wxEVT_TEXT_PASTE, [this, i](wxClipboardTextEvent&) { OnPaste(i); });
        field->Bind(wxEVT_TEXT_COPY, [this, i](wxClipboardTextEvent& event) { OnCopy(i, event); });
        field->Bind(wxEVT_SET_FOCUS, [this](wxFocusEvent& event) {
            Refresh();
            event.Skip();
        });
        field->Bind(wxEVT_KILL_FOCUS, [this](wxFocusEvent& event) {
            Refresh();
            event.Skip();
        });
        m_fields[static_cast<std::size_t>(i)] = field;
        row->Add(field, wxSizerFlags(1).CentreVertical());
    }
    auto* sizer = MakeChild<wxBoxSizer>(wxVERTICAL);
    sizer->AddStretchSpacer();
    sizer->Add(row, wxSizerFlags().Expand().Border(wxLEFT | wxRIGHT, FromDIP(4)));
    sizer->AddStretchSpacer();
    SetSizer(sizer);
    // As high as an entry of the platform.
    const int height = Field(0)->GetBestSize().y;
    SetMinSize(wxSize(sizer->CalcMin().x, std::max(height, EntryHeight())));
    SetSize(GetMinSize());
}

void IpAddressCtrl::OnPaint(wxPaintEvent&) {
    wxPaintDC dc(this);
    int flags = IsEnabled() ? 0 : static_cast<int>(wxCONTROL_DISABLED);
    const wxWindow* focus = FindFocus();
    if (focus != nullptr && focus->GetParent() == this) {
        flags |= wxCONTROL_FOCUSED;
    }
    wxRendererNative::Get().DrawTextCtrl(this, dc, GetClientRect(), flags);
}

wxString IpAddressCtrl::GetFieldText(int field) const {
    return Field(field)->GetValue();
}

wxString IpAddressCtrl::GetText() const {
    wxString text;
    for (int i = 0; i < kFields; ++i) {
        long value = 0;
        if (!GetFieldText(i).ToLong(&value)) {
            return {};
        }
        text += wxString::Format(i == 0 ? "%ld" : ".%ld", value);
    }
    return text;
}

bool IpAddressCtrl::SetText(const wxString& text) {
    const auto fields = SplitAddress(text);
    if (!fields) {
        return false;
    }
    for (std::size_t i = 0; i < fields->size(); ++i) {
        m_fields[i]->ChangeValue((*fields)[i]);
    }
    return true;
}

void IpAddressCtrl::Clear() {
    for (wxTextCtrl* field : m_fields) {
        field->ChangeValue(wxEmptyString);
    }
}

bool IpAddressCtrl::IsBlank() const {
    return std::ranges::all_of(m_fields, [](const wxTextCtrl* field) { return field->IsEmpty(); });
}

bool IpAddressCtrl::AreAllFieldsFilled() const {
    return std::ranges::none_of(m_fields, [](const wxTextCtrl* field) { return field->IsEmpty(); });
}

void IpAddressCtrl::SetFocusField(int field) {
    wxTextCtrl* entry = Field(field);
    entry->SetFocus();
    entry->SelectAll();
}

void IpAddressCtrl::SetFocus() {
    SetFocusField(0);
}

void IpAddressCtrl::SetFocusFromKbd() {
    SetFocusField(0);
}

bool IpAddressCtrl::MoveTo(int field, long position) {
    if (field < 0 || field >= kFields) {
        return false;
    }
    wxTextCtrl* entry = Field(field);
    entry->SetFocus();
    entry->SetInsertionPoint(std::min(position, entry->GetLastPosition()));
    return true;
}

void IpAddressCtrl::OnChar(int field, wxKeyEvent& event) {
    const wxChar typed = event.GetUnicodeKey();
    if (typed > L' ' && typed != WXK_DELETE && !event.HasModifiers()) {
        if (typed >= L'0' && typed <= L'9') {
            OnTypedDigit(field, typed);
        } else if (typed == L'.' || typed == L',') {
            OnSeparator(field);
        } else {
            wxBell();
        }
        return;
    }
    wxTextCtrl* entry = Field(field);
    long from = 0;
    long to = 0;
    entry->GetSelection(&from, &to);
    const bool selection = from != to;
    const bool plain = !event.HasAnyModifiers();
    const long caret = entry->GetInsertionPoint();
    const long end = entry->GetLastPosition();
    bool done = false;
    switch (event.GetKeyCode()) {
    case WXK_SPACE:
        OnSeparator(field);
        done = true;
        break;
    case WXK_TAB:
        LeaveByTab(!event.ShiftDown());
        done = true;
        break;
    case WXK_LEFT:
    case WXK_NUMPAD_LEFT:
        done = plain && !selection && caret == 0 && MoveTo(field - 1, kFieldMaximum);
        break;
    case WXK_RIGHT:
    case WXK_NUMPAD_RIGHT:
        done = plain && !selection && caret == end && MoveTo(field + 1, 0);
        break;
    case WXK_BACK:
        if (caret == 0 && !selection && MoveTo(field - 1, kFieldMaximum)) {
            EraseAt(field - 1, Field(field - 1)->GetLastPosition() - 1);
            done = true;
        }
        break;
    case WXK_DELETE:
    case WXK_NUMPAD_DELETE:
        if (caret == end && !selection && MoveTo(field + 1, 0)) {
            EraseAt(field + 1, 0);
            done = true;
        }
        break;
    case WXK_HOME:
    case WXK_NUMPAD_HOME:
        done = plain && MoveTo(0, 0);
        break;
    case WXK_END:
    case WXK_NUMPAD_END:
        done = plain && MoveTo(kFields - 1, kFieldMaximum);
        break;
    default:
        break;
    }
    if (!done) {
        event.Skip();
    }
}

bool IpAddressCtrl::Insert(int field, const wxString& digits) {
    wxTextCtrl* entry = Field(field);
    long from = 0;
    long to = 0;
    entry->GetSelection(&from, &to);
    wxString text = entry->GetValue();
    text.replace(static_cast<std::size_t>(from), static_cast<std::size_t>(to - from), digits);
    if (text.length() > kFieldDigits) {
        wxBell();
        return false;
    }
    const wxString clamped = Clamped(text);
    if (clamped != text) {
        wxBell();
    }
    entry->ChangeValue(clamped);
    entry->SetInsertionPoint(from + static_cast<long>(digits.length()));
    return true;
}

void IpAddressCtrl::OnTypedDigit(int field, wxChar digit) {
    if (!Insert(field, wxString(digit))) {
        return;
    }
    const wxTextCtrl* entry = Field(field);
    if (entry->GetInsertionPoint() == static_cast<long>(kFieldDigits) && field + 1 < kFields) {
        SetFocusField(field + 1);
    }
    NotifyChange();
}

void IpAddressCtrl::OnSeparator(int field) {
    // Two dots in a row, or one over a field that has just been entered, do not skip a field.
    const wxTextCtrl* entry = Field(field);
    long from = 0;
    long to = 0;
    entry->GetSelection(&from, &to);
    if (!entry->IsEmpty() && from == to && field + 1 < kFields) {
        SetFocusField(field + 1);
    }
}

void IpAddressCtrl::EraseAt(int field, long position) {
    wxTextCtrl* entry = Field(field);
    wxString text = entry->GetValue();
    if (position < 0 || position >= static_cast<long>(text.length())) {
        return;
    }
    text.erase(static_cast<std::size_t>(position), 1);
    entry->ChangeValue(text);
    entry->SetInsertionPoint(position);
    NotifyChange();
}

void IpAddressCtrl::OnText(int field, wxCommandEvent& event) {
    // Typing does not come here; what does (deleting, cutting, dropping, an input method) may leave
    // something that is no number. The parents hear of the control's event only, not of its fields'.
    if (event.GetEventObject() != Field(field)) {
        event.Skip();
        return;
    }
    wxTextCtrl* entry = Field(field);
    wxString digits;
    for (const wxUniChar character : entry->GetValue()) {
        if (character >= '0' && character <= '9') {
            digits += character;
        }
    }
    if (!digits.empty()) {
        digits = Clamped(digits.Left(kFieldDigits));
    }
    if (digits != entry->GetValue()) {
        wxBell();
        entry->ChangeValue(digits);
        entry->SetInsertionPointEnd();
    }
    NotifyChange();
}

void IpAddressCtrl::OnPaste(int field) {
    wxTextDataObject data;
    if (wxTheClipboard->Open()) {
        wxTheClipboard->GetData(data);
        wxTheClipboard->Close();
    }
    const wxString text = data.GetText().Trim(true).Trim(false);
    if (SetText(text)) {
        MoveTo(kFields - 1, kFieldMaximum);
        NotifyChange();
        return;
    }
    if (!IsDigits(text)) {
        wxBell();
    } else if (Insert(field, text)) {
        NotifyChange();
    }
}

void IpAddressCtrl::OnCopy(int field, wxClipboardTextEvent& event) {
    const wxTextCtrl* entry = Field(field);
    if (entry->HasSelection() && entry->GetStringSelection() != entry->GetValue()) {
        event.Skip();
        return;
    }
    const wxString text = AreAllFieldsFilled() ? GetText() : entry->GetValue();
    if (!text.empty() && wxTheClipboard->Open()) {
        wxTheClipboard->SetData(MakeChild<wxTextDataObject>(text)); // the clipboard owns it
        wxTheClipboard->Close();
    }
}

void IpAddressCtrl::LeaveByTab(bool forward) {
    // From the field at the far end, so that Tab does not stop at the others.
    wxTextCtrl* last = Field(forward ? kFields - 1 : 0);
    last->SetFocus();
    last->Navigate(forward ? wxNavigationKeyEvent::IsForward : wxNavigationKeyEvent::IsBackward);
}

void IpAddressCtrl::NotifyChange() {
    wxCommandEvent event(EVT_IP_ADDRESS_CHANGED, GetId());
    event.SetEventObject(this);
    event.SetString(GetText());
    ProcessWindowEvent(event);
}

} // namespace vnxtest
