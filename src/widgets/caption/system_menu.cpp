#include "widgets/caption/system_menu.h"

#include <utility>

#include <wx/menu.h>
#include <wx/toplevel.h>

namespace vnxtest {

void ShowSystemMenu(wxTopLevelWindow& window, const std::function<void(wxMenu&)>& fill) {
    wxMenu menu;
    const auto add = [&menu](const wxString& label, bool enabled, std::function<void()> act) {
        wxMenuItem* item = menu.Append(wxID_ANY, label);
        item->Enable(enabled);
        menu.Bind(
            wxEVT_MENU, [act = std::move(act)](wxCommandEvent&) { act(); }, item->GetId());
    };
    add("&Restore", window.IsMaximized(), [&window] { window.Maximize(false); });
    add("Mi&nimize", true, [&window] { window.Iconize(); });
    add("Ma&ximize", !window.IsMaximized(), [&window] { window.Maximize(); });
    menu.AppendSeparator();
    fill(menu);
    menu.AppendSeparator();
    add("&Close\tAlt+F4", true, [&window] { window.Close(); });
    window.PopupMenu(&menu);
}

} // namespace vnxtest
