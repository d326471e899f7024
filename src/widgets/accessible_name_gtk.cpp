#include <gtk/gtk.h>
#include <wx/window.h>

#include "widgets/accessible_name.h"

namespace vnxtest {

void SetAccessibleName(wxWindow& window, const wxString& name) {
    window.SetName(name);
    if (AtkObject* accessible = gtk_widget_get_accessible(window.m_widget)) {
        atk_object_set_name(accessible, name.utf8_str());
    }
}

} // namespace vnxtest
