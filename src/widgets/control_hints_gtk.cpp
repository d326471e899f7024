#include "widgets/control_hints.h"

#include <gtk/gtk.h>
#include <wx/button.h>

namespace vnxtest {

namespace {

gboolean OnMnemonic(GtkWidget*, gboolean, gpointer data) {
    static_cast<wxWindow*>(data)->SetFocus();
    return TRUE;
}

} // namespace

void TakeFocusByMnemonic(wxWindow& window) {
    g_signal_connect(window.m_widget, "mnemonic-activate", G_CALLBACK(OnMnemonic), &window);
}

void ShowAsDefault(wxButton& button) {
    // The usual themes do not mark the default button.
    gtk_style_context_add_class(gtk_widget_get_style_context(button.m_widget), "suggested-action");
}

// The arrows need their full height.
void FitBeside(wxSpinButton&, const wxWindow&) {}

} // namespace vnxtest
