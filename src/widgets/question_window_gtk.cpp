#include "widgets/question_window.h"

#include <gtk/gtk.h>
#include <wx/dialog.h>
#include <wx/sizer.h>

namespace vnxtest {

void MakeAlert(wxDialog& dialog) {
    if (AtkObject* accessible = gtk_widget_get_accessible(dialog.m_widget)) {
        atk_object_set_role(accessible, ATK_ROLE_ALERT);
    }
}

// A window that is not resizable by hand is as large as what it holds asks for, and its caption.
void FitToContents(wxDialog& dialog) {
    const wxSize needed = dialog.GetSizer()->CalcMin();
    gtk_widget_set_size_request(dialog.m_widget, -1, -1);
    gtk_widget_set_size_request(dialog.m_wxwindow, needed.x, needed.y);
}

} // namespace vnxtest
