// Pointer and keyboard in "What's This?" mode on GTK. The pointer is grabbed for the window, so that clicks
// on disabled controls, the title bar and the desktop come here, too. Inside the program a hidden widget
// holds the toolkit's grab, so that no other widget sees an event first.
#include <utility>

#include <gtk/gtk.h>
#include <wx/app.h>
#include <wx/toplevel.h>

#include "helpui/whats_this_mode.h"
#include "wrenlib/trace.h"

namespace vnxtest {

namespace {

class GtkCapture final : public WhatsThisCapture {
public:
    GtkCapture(GtkWidget* window, std::function<void(std::optional<wxPoint>)> ended)
        : m_window(window), m_ended(std::move(ended)), m_alive(std::make_shared<bool>(true)) {}

    GtkCapture(const GtkCapture&) = delete;
    GtkCapture& operator=(const GtkCapture&) = delete;

    ~GtkCapture() override {
        *m_alive = false;
        if (m_grabbed) {
            gdk_seat_ungrab(gdk_display_get_default_seat(gtk_widget_get_display(m_window)));
        }
        if (m_activeHandler != 0) {
            g_signal_handler_disconnect(m_window, m_activeHandler);
        }
        if (m_catcher != nullptr) {
            gtk_grab_remove(m_catcher);
            gtk_widget_destroy(m_catcher);
        }
    }

    bool Begin() {
        GdkDisplay* display = gtk_widget_get_display(m_window);
        GdkCursor* cursor = gdk_cursor_new_from_name(display, "help");
        if (cursor == nullptr) {
            cursor = gdk_cursor_new_for_display(display, GDK_QUESTION_ARROW);
        }
        const GdkGrabStatus status =
            gdk_seat_grab(gdk_display_get_default_seat(display), gtk_widget_get_window(m_window),
                          GDK_SEAT_CAPABILITY_ALL_POINTING, FALSE, cursor, nullptr, nullptr, nullptr);
        g_object_unref(cursor);
        if (status != GDK_GRAB_SUCCESS) {
            WrenLibAfxTrace(L"gdk_seat_grab failed; rc=%d\n", static_cast<int>(status));
            return false;
        }
        m_grabbed = true;
        m_catcher = gtk_invisible_new_for_screen(gtk_widget_get_screen(m_window));
        gtk_widget_show(m_catcher);
        g_signal_connect(m_catcher, "event", G_CALLBACK(&GtkCapture::OnEvent), this);
        gtk_grab_add(m_catcher);
        m_activeHandler =
            g_signal_connect(m_window, "notify::is-active", G_CALLBACK(&GtkCapture::OnActive), this);
        return true;
    }

private:
    static gboolean OnEvent(GtkWidget*, GdkEvent* event, gpointer data) {
        return static_cast<GtkCapture*>(data)->Handle(*event) ? TRUE : FALSE;
    }

    static void OnActive(GtkWidget* window, GParamSpec*, gpointer data) {
        if (gtk_window_is_active(GTK_WINDOW(window)) == FALSE) {
            static_cast<GtkCapture*>(data)->End(std::nullopt);
        }
    }

    // True if the event ends here.
    bool Handle(const GdkEvent& event) {
        switch (event.type) {
        case GDK_BUTTON_PRESS:
            m_pressedButton = event.button.button;
            return true;
        case GDK_BUTTON_RELEASE:
            // The release of the press that began the mode may still come; it is ignored.
            if (m_pressedButton == GDK_BUTTON_PRIMARY && event.button.button == GDK_BUTTON_PRIMARY) {
                End(wxPoint(static_cast<int>(event.button.x_root), static_cast<int>(event.button.y_root)));
            } else if (m_pressedButton != 0) {
                End(std::nullopt);
            }
            return true;
        case GDK_KEY_PRESS:
            if (event.key.keyval == GDK_KEY_Escape || event.key.keyval == GDK_KEY_F1) {
                End(std::nullopt);
            }
            return true;
        case GDK_GRAB_BROKEN:
            m_grabbed = false;
            End(std::nullopt);
            return true;
        case GDK_2BUTTON_PRESS:
        case GDK_3BUTTON_PRESS:
        case GDK_MOTION_NOTIFY:
        case GDK_SCROLL:
        case GDK_KEY_RELEASE:
        case GDK_ENTER_NOTIFY:
        case GDK_LEAVE_NOTIFY:
            return true;
        default:
            return false;
        }
    }

    // Reports once, later, from the event loop: the report destroys this object.
    void End(std::optional<wxPoint> point) {
        if (m_reported) {
            return;
        }
        m_reported = true;
        wxTheApp->CallAfter([this, alive = m_alive, point] {
            if (*alive) {
                const auto ended = m_ended;
                ended(point);
            }
        });
    }

    GtkWidget* m_window;
    std::function<void(std::optional<wxPoint>)> m_ended;
    std::shared_ptr<bool> m_alive;
    GtkWidget* m_catcher = nullptr;
    gulong m_activeHandler = 0;
    guint m_pressedButton = 0;
    bool m_grabbed = false;
    bool m_reported = false;
};

} // namespace

std::unique_ptr<WhatsThisCapture> HoldForWhatsThis(wxTopLevelWindow& window,
                                                   std::function<void(std::optional<wxPoint>)> ended) {
    if (!window.IsShown() || gtk_widget_get_window(window.m_widget) == nullptr) {
        return nullptr;
    }
    auto capture = std::make_unique<GtkCapture>(window.m_widget, std::move(ended));
    return capture->Begin() ? std::move(capture) : nullptr;
}

} // namespace vnxtest
