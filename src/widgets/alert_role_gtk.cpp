#include "widgets/alert_role.h"

#include <gtk/gtk.h>
#include <wx/dialog.h>

namespace vnxtest {

void MakeAlert(wxDialog& dialog) {
    if (AtkObject* accessible = gtk_widget_get_accessible(dialog.m_widget)) {
        atk_object_set_role(accessible, ATK_ROLE_ALERT);
    }
}

} // namespace vnxtest
