#include "widgets/entries/number_entry.h"

#include <algorithm>

#include <wx/msgdlg.h>
#include <wx/sizer.h>
#include <wx/spinbutt.h>
#include <wx/textctrl.h>
#include <wx/utils.h>

#include "widgets/accessible_name.h"
#include "widgets/control_hints.h"
#include "widgets/make_child.h"

namespace vnxtest {

namespace {

constexpr int kPage = 10; // what Page Up and Page Down step by

bool IsDigit(wxUniChar character) {
    return character >= '0' && character <= '9';
}

} // namespace

NumberEntry::NumberEntry(wxWindow* parent, int editId, int spinId, const wxString& accessibleName)
    : wxPanel(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxBORDER_NONE) {
    m_edit = MakeChild<wxTextCtrl>(this, editId, wxEmptyString, wxDefaultPosition, wxDefaultSize, wxTE_RIGHT);
    m_edit->SetInitialSize(m_edit->GetSizeFromText("00000000"));
    m_spin = MakeChild<wxSpinButton>(this, spinId, wxDefaultPosition, wxDefaultSize,
                                     wxSP_VERTICAL | wxSP_ARROW_KEYS);
    // The button only tells up or down; the edit holds the number.
    m_spin->SetRange(-1, 1);
    m_spin->SetCanFocus(false);
    FitBeside(*m_spin, *m_edit);
    TakeFocusByMnemonic(*this);
    SetAccessibleName(*m_edit, accessibleName);
    SetAccessibleName(*m_spin, accessibleName);

    auto* sizer = MakeChild<wxBoxSizer>(wxHORIZONTAL);
    sizer->Add(m_edit, wxSizerFlags(1).Expand());
    sizer->Add(m_spin, wxSizerFlags().CentreVertical());
    SetSizer(sizer);

    m_spin->Bind(wxEVT_SPIN_UP, [this](wxSpinEvent& event) { OnSpin(event, 1); });
    m_spin->Bind(wxEVT_SPIN_DOWN, [this](wxSpinEvent& event) { OnSpin(event, -1); });
    m_edit->Bind(wxEVT_CHAR, &NumberEntry::OnKey, this);
    m_edit->Bind(wxEVT_MOUSEWHEEL, [this](wxMouseEvent& event) {
        if (m_edit->HasFocus() && event.GetWheelRotation() != 0) {
            Step(event.GetWheelRotation() > 0 ? 1 : -1);
        } else {
            event.Skip();
        }
    });
    m_edit->Bind(wxEVT_TEXT, [this](wxCommandEvent& event) {
        KeepDigits();
        NotifyChange();
        event.Skip();
    });
}

void NumberEntry::SetRange(int minimum, int maximum) {
    m_minimum = minimum;
    m_maximum = maximum;
}

void NumberEntry::SetPosition(int value) {
    SetValue(std::clamp(value, m_minimum, m_maximum));
}

void NumberEntry::SetValue(int value) {
    m_edit->ChangeValue(wxString::Format("%d", value));
}

std::optional<int> NumberEntry::GetValue() const {
    wxString text = m_edit->GetValue();
    text.Trim(true).Trim(false);
    int value = 0;
    return text.ToInt(&value) ? std::optional(value) : std::nullopt;
}

wxString NumberEntry::RangeMessage() const {
    const std::optional<int> value = GetValue();
    if (value && *value >= m_minimum && *value <= m_maximum) {
        return {};
    }
    // A number too long for 32 bits counts as out of range, not as no number.
    wxString text = m_edit->GetValue();
    text.Trim(true).Trim(false);
    const bool number = !text.empty() && text.find_first_not_of("+-0123456789") == wxString::npos;
    return value || number ? wxString::Format("Enter an integer between %d and %d.", m_minimum, m_maximum)
                           : wxString("Enter an integer.");
}

bool NumberEntry::Exchange(int& value) {
    const wxString message = RangeMessage();
    if (message.empty()) {
        value = *GetValue();
        return true;
    }
    wxMessageBox(message, wxGetTopLevelParent(this)->GetLabel(), wxOK | wxICON_EXCLAMATION, this);
    m_edit->SetFocus();
    m_edit->SelectAll();
    return false;
}

void NumberEntry::SetFocus() {
    m_edit->SetFocus();
    m_edit->SelectAll();
}

void NumberEntry::OnSpin(wxSpinEvent& event, int step) {
    // The button's own position stays in the middle, so that it can move both ways.
    event.Veto();
    m_edit->SetFocus();
    Step(step);
}

void NumberEntry::OnKey(wxKeyEvent& event) {
    switch (event.GetKeyCode()) {
    case WXK_UP:
    case WXK_NUMPAD_UP:
        Step(1);
        break;
    case WXK_DOWN:
    case WXK_NUMPAD_DOWN:
        Step(-1);
        break;
    case WXK_PAGEUP:
    case WXK_NUMPAD_PAGEUP:
        Step(kPage);
        break;
    case WXK_PAGEDOWN:
    case WXK_NUMPAD_PAGEDOWN:
        Step(-kPage);
        break;
    default:
        if (const wxChar typed = event.GetUnicodeKey();
            typed >= L' ' && typed != WXK_DELETE && !event.HasModifiers() && !IsDigit(typed)) {
            wxBell();
        } else {
            event.Skip();
        }
        break;
    }
}

// Of what was pasted or dropped, or came from an input method.
void NumberEntry::KeepDigits() {
    wxString digits;
    for (const wxUniChar character : m_edit->GetValue()) {
        if (IsDigit(character)) {
            digits += character;
        }
    }
    if (digits != m_edit->GetValue()) {
        if (digits != wxString(m_edit->GetValue()).Trim(true).Trim(false)) {
            wxBell();
        }
        m_edit->ChangeValue(digits);
        m_edit->SetInsertionPointEnd();
    }
}

void NumberEntry::Step(int step) {
    const long long next = static_cast<long long>(GetValue().value_or(m_minimum)) + step;
    SetValue(static_cast<int>(std::clamp<long long>(next, m_minimum, m_maximum)));
    m_edit->SelectAll();
    NotifyChange();
}

void NumberEntry::NotifyChange() {
    wxCommandEvent event(EVT_NUMBER_CHANGED, m_edit->GetId());
    event.SetEventObject(this);
    ProcessWindowEvent(event);
}

} // namespace vnxtest
