#include "widgets/entries/mac_entry_ctrl.h"

#include <algorithm>
#include <optional>
#include <utility>

#include <wx/clipbrd.h>
#include <wx/utils.h>

#include "widgets/accessible_name.h"
#include "wrenlib/mac_entry.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

constexpr long kCaretAtEnd = 17; // six pairs of digits, five separators

// The text after typing `keys` one by one behind `text`; nullopt if one were refused.
std::optional<std::wstring> TypedBehind(std::wstring text, const std::wstring& keys) {
    for (const wchar_t key : keys) {
        MacEntryResult result = FilterMACAddressInput(text + key, text);
        if (!result.accepted) {
            return std::nullopt;
        }
        text = std::move(result.value);
    }
    return text;
}

} // namespace

MacEntryCtrl::MacEntryCtrl(wxWindow* parent, int id, const wxString& accessibleName)
    : wxTextCtrl(parent, id) {
    SetInitialSize(GetSizeFromText("DD-DD-DD-DD-DD-DD")); // no digit is wider
    SetAccessibleName(*this, accessibleName);
}

std::wstring MacEntryCtrl::GetMac() const {
    return GetValue().ToStdWstring();
}

void MacEntryCtrl::SetMac(const std::wstring& text) {
    m_accepted = text;
    ChangeValue(text);
}

bool MacEntryCtrl::TryBefore(wxEvent& event) {
    if (event.GetEventObject() == this && !m_inside) {
        const wxEventType type = event.GetEventType();
        if (type == wxEVT_CHAR) {
            // A typed character is checked before it is inserted: after an insertion the toolkit would set
            // the caret itself, not behind an added separator.
            const auto& key = static_cast<wxKeyEvent&>(event);
            const wxChar character = key.GetUnicodeKey();
            if (character >= L' ' && character != WXK_DELETE && !key.HasModifiers() && IsEditable()) {
                return OnInsert(wxString(character));
            }
        } else if (type == wxEVT_TEXT_PASTE && IsEditable()) {
            wxTextDataObject data;
            if (wxTheClipboard->Open()) {
                wxTheClipboard->GetData(data);
                wxTheClipboard->Close();
            }
            return OnInsert(TrimBlanks(data.GetText().ToStdWstring()));
        } else if (type == wxEVT_TEXT) {
            const bool unchanged = GetMac() == m_accepted;
            if (!unchanged && !Judge(GetMac(), GetInsertionPoint())) {
                return true;
            }
        }
    }
    return wxTextCtrl::TryBefore(event);
}

bool MacEntryCtrl::OnInsert(const wxString& inserted) {
    long from = 0;
    long to = 0;
    GetSelection(&from, &to);
    const std::wstring text = GetMac();
    const std::wstring before = text.substr(0, static_cast<std::size_t>(from));
    const std::wstring behind = text.substr(static_cast<std::size_t>(to));
    std::wstring candidate = before + inserted.ToStdWstring() + behind;
    long caret = from + static_cast<long>(inserted.length());
    if (inserted.length() > 1 && behind.empty() && !FilterMACAddressInput(candidate, m_accepted).accepted) {
        // Several digits at once may lack separators; they are taken as if typed one by one.
        if (const std::optional<std::wstring> typed = TypedBehind(before, inserted.ToStdWstring())) {
            candidate = *typed;
            caret = kCaretAtEnd;
        }
    }
    if (Judge(candidate, caret)) {
        wxCommandEvent changed(wxEVT_TEXT, GetId());
        changed.SetEventObject(this);
        changed.SetString(GetValue());
        HandleWindowEvent(changed);
    }
    return true;
}

bool MacEntryCtrl::Judge(const std::wstring& text, long caret) {
    const MacEntryResult result = FilterMACAddressInput(text, m_accepted);
    if (!result.accepted) {
        wxBell();
    }
    const long wanted = result.accepted && !result.changed ? caret : kCaretAtEnd;
    m_accepted = result.value;
    if (GetMac() != result.value) {
        m_inside = true;
        ChangeValue(result.value);
        m_inside = false;
    }
    SetInsertionPoint(std::min(wanted, GetLastPosition()));
    return result.accepted;
}

} // namespace vnxtest
