// An entry for a MAC address that filters what is typed (wrenlib/mac_entry.h): it adds separators, and
// refuses with a beep what cannot become a MAC address. User-interface thread.
#pragma once

#include <string>

#include <wx/textctrl.h>

namespace vnxtest {

class MacEntryCtrl : public wxTextCtrl {
public:
    MacEntryCtrl(wxWindow* parent, int id, const wxString& accessibleName);

    // The text as it stands. SetMac() sends no event and does not filter.
    std::wstring GetMac() const;
    void SetMac(const std::wstring& text);

protected:
    // The filter runs before any handler: handlers of wxEVT_TEXT see accepted texts only, and no event of a
    // refused one.
    bool TryBefore(wxEvent& event) override;

private:
    // Replaces the selection by `inserted` if the result is accepted. Returns true: the event is handled.
    bool OnInsert(const wxString& inserted);
    // Filters `text` and sets the result; the caret goes to `caret`, or to the end if the text was changed
    // or refused. False, with a beep, if it was refused.
    bool Judge(const std::wstring& text, long caret);

    std::wstring m_accepted;
    bool m_inside = false;
};

} // namespace vnxtest
