#include "helpui/frameless_entry.h"

#include <gtk/gtk.h>
#include <wx/textctrl.h>

namespace vnxtest {

void MakeFrameless(wxTextCtrl& entry) {
    // Without a frame a theme still draws one around the entry that has the focus.
    static constexpr char kStyle[] =
        "entry { border: none; box-shadow: none; outline: none; background: none;"
        " padding: 0; min-height: 0; }";
    GtkCssProvider* provider = gtk_css_provider_new();
    gtk_css_provider_load_from_data(provider, kStyle, -1, nullptr);
    gtk_style_context_add_provider(gtk_widget_get_style_context(entry.m_widget), GTK_STYLE_PROVIDER(provider),
                                   GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    g_object_unref(provider);
}

} // namespace vnxtest
