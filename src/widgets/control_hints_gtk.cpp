#include "widgets/control_hints.h"

#include <memory>

#include <gtk/gtk.h>
#include <wx/button.h>
#include <wx/dialog.h>
#include <wx/scrolwin.h>
#include <wx/sizer.h>

#include "widgets/make_child.h"

namespace vnxtest {

namespace {

gboolean OnMnemonic(GtkWidget*, gboolean, gpointer data) {
    static_cast<wxWindow*>(data)->SetFocus();
    return TRUE;
}

void ShowNow(wxWindow& window) {
    window.GTKShowFromOnIdle();
    if (GTK_IS_SCROLLED_WINDOW(window.m_widget)) {
        // Who sees no bar does not look for more.
        gtk_scrolled_window_set_overlay_scrolling(GTK_SCROLLED_WINDOW(window.m_widget), FALSE);
    }
    for (wxWindow* const child : window.GetChildren()) {
        ShowNow(*child);
    }
}

// The toolkit's, but that it leaves room for the caption, which is within the window (AddCaptionButton),
// where it counts the contents alone.
class ScrollingLayout final : public wxStandardDialogLayoutAdapter {
public:
    int MustScroll(wxDialog* dialog, wxSize& needed, wxSize& room) override {
        DoMustScroll(dialog, needed, room);
        if (GtkWidget* const caption = gtk_window_get_titlebar(GTK_WINDOW(dialog->m_widget))) {
            int height = 0;
            gtk_widget_get_preferred_height(caption, nullptr, &height);
            room.y -= height + dialog->FromDIP(kBorder);
        }
        return (needed.x > room.x ? wxHORIZONTAL : 0) | (needed.y > room.y ? wxVERTICAL : 0);
    }

    bool FitWithScrolling(wxDialog* dialog, wxScrolledWindow* scrolled) override {
        dialog->GetSizer()->SetSizeHints(dialog);
        wxSize size;
        wxSize room;
        const int directions = MustScroll(dialog, size, room);
        const int bar = dialog->FromDIP(kScrollBar);
        const bool down = (directions & wxVERTICAL) != 0;
        const bool sideways = size.x + (down ? bar : 0) > room.x;
        const int step = dialog->GetCharHeight();
        scrolled->SetScrollRate(sideways ? step : 0, down ? step : 0);
        scrolled->FitInside();
        size.IncBy(down ? bar : 0, sideways ? bar : 0);
        size.DecTo(room);
        dialog->SetMinSize(size);
        dialog->SetSize(size);
        return true;
    }

private:
    static constexpr int kBorder = 8; // device-independent pixels
    static constexpr int kScrollBar = 16;
};

} // namespace

void TakeFocusByMnemonic(wxWindow& window) {
    g_signal_connect(window.m_widget, "mnemonic-activate", G_CALLBACK(OnMnemonic), &window);
}

void SetMnemonicTarget(wxWindow& label, wxWindow& control) {
    if (GTK_IS_LABEL(label.m_widget)) {
        gtk_label_set_mnemonic_widget(GTK_LABEL(label.m_widget), control.m_widget);
    }
}

void ShowAsDefault(wxButton& button) {
    // The usual themes do not mark the default button.
    gtk_style_context_add_class(gtk_widget_get_style_context(button.m_widget), "suggested-action");
}

// The theme does.
void ShowLabelsAsEnabled(wxWindow&) {}

bool ScrollSideways(wxWindow& list, bool right) {
    if (!GTK_IS_SCROLLED_WINDOW(list.m_widget)) {
        return false;
    }
    GtkAdjustment* const place = gtk_scrolled_window_get_hadjustment(GTK_SCROLLED_WINDOW(list.m_widget));
    const double step = gtk_adjustment_get_step_increment(place);
    // It keeps within its bounds.
    gtk_adjustment_set_value(place, gtk_adjustment_get_value(place) + (right ? step : -step));
    return true;
}

// The arrows need their full height.
void FitBeside(wxSpinButton&, const wxWindow&) {}

// A control that gets another parent is hidden until the program is idle: keys that come before would go to
// one that is hidden, and nowhere.
void ShowScrolledAtOnce(wxDialog& dialog) {
    // The toolkit destroys the one that is set when it ends.
    static wxDialogLayoutAdapter* const kScrolling = MakeChild<ScrollingLayout>();
    if (wxDialog::GetLayoutAdapter() != kScrolling) {
        const std::unique_ptr<wxDialogLayoutAdapter> usual(wxDialog::SetLayoutAdapter(kScrolling));
    }
    dialog.Bind(wxEVT_SHOW, [&dialog](wxShowEvent& event) {
        ShowNow(dialog);
        event.Skip();
    });
}

} // namespace vnxtest
