// An entry for a MAC address that keeps what is typed in form (wrenlib/mac_entry.h): a separator is put
// in by itself, and what cannot become a MAC address is refused with a beep.
#pragma once

#include <string>

#include <wx/textctrl.h>

namespace vnxtest {

class MacEntryCtrl : public wxTextCtrl {
public:
    MacEntryCtrl(wxWindow* parent, int id, const wxString& accessibleName);

    // The text as it stands; sets it without an event and takes it for the last accepted one.
    std::wstring GetMac() const;
    void SetMac(const std::wstring& text);

protected:
    // The filter runs before anybody else sees the change: handlers of wxEVT_TEXT find accepted texts
    // only, and hear nothing of a refused one.
    bool TryBefore(wxEvent& event) override;

private:
    // Puts `inserted` in the place of the selection, if the result is accepted. Always true: done.
    bool OnInsert(const wxString& inserted);
    // Filters `text`, puts what comes out into the entry and the caret where it belongs: `caret`, or the
    // end when the text was changed or refused. False (and a beep) when it was refused.
    bool Judge(const std::wstring& text, long caret);

    std::wstring m_accepted;
    bool m_inside = false;
};

} // namespace vnxtest
