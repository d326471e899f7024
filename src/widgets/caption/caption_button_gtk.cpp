// The caption on GTK: a header bar as the window's title bar, with the help button before the window's own
// buttons and, if asked for, a button for the window's menu at the other end.
#include "widgets/caption/caption_button.h"

#include <array>
#include <string_view>
#include <utility>

#include <gtk/gtk.h>
#include <wx/frame.h>
#include <wx/toplevel.h>

#include "widgets/caption/frame_area.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

constexpr int kMenuIconSize = 16;

bool HasClass(GtkWidget* widget, const char* name) {
    return gtk_style_context_has_class(gtk_widget_get_style_context(widget), name) != FALSE;
}

// The side of the window's buttons is the user's choice; which buttons there are follows from the window,
// since the desktop's list lacks some that this window needs.
std::string DecorationLayout(bool isFrame) {
    gchar* setting = nullptr;
    g_object_get(gtk_settings_get_default(), "gtk-decoration-layout", &setting, nullptr);
    const std::string layout = setting != nullptr ? setting : "";
    g_free(setting);
    const std::size_t close = layout.find("close");
    const bool left = close != std::string::npos && close < layout.find(':');
    const std::string buttons = !isFrame ? "close"
                                : left   ? "close,minimize,maximize"
                                         : "minimize,maximize,close";
    return left ? buttons + ":" : ":" + buttons;
}

class GtkCaption final : public CaptionButton {
public:
    GtkCaption(wxTopLevelWindow& window, CaptionCallbacks callbacks)
        : m_window(window), m_toplevel(window.m_widget), m_callbacks(std::move(callbacks)),
          m_header(gtk_header_bar_new()) {
        GtkHeaderBar* header = GTK_HEADER_BAR(m_header);
        gtk_header_bar_set_show_close_button(header, TRUE);
        gtk_header_bar_set_has_subtitle(header, FALSE);
        gtk_header_bar_set_title(header, gtk_window_get_title(GTK_WINDOW(m_toplevel)));

        m_help = AddButton("?", ToUtf8(m_callbacks.name.ToStdWstring()), G_CALLBACK(&GtkCaption::OnHelp));
        gtk_header_bar_pack_end(header, m_help);
        if (m_callbacks.systemMenu) {
            m_menu = AddButton(nullptr, "Window menu", G_CALLBACK(&GtkCaption::OnMenu));
            gtk_header_bar_pack_start(header, m_menu);
            UpdateMenuIcon();
            m_iconHandler =
                g_signal_connect(m_toplevel, "notify::icon", G_CALLBACK(&GtkCaption::OnIcon), this);
        }
        gtk_widget_show(m_header);
        gtk_window_set_titlebar(GTK_WINDOW(m_toplevel), m_header);

        // GTK adds the title bar and the border to every size it is given; the window manager adds nothing.
        // The toolkit includes them when it is told the new size, and would add them again with the next
        // one it sets. So its record of the window's size is kept to that of the contents.
        m_window.m_decorSize = wxTopLevelWindow::DecorSize();
        // Realized while it has no size yet, the window takes a size that has room for its border. (Later,
        // the contents laid out but the border not counted in, GTK would work on a negative rest and say so.)
        gtk_widget_realize(m_toplevel);
        m_mapHandler = g_signal_connect_after(m_toplevel, "map", G_CALLBACK(&GtkCaption::OnMap), this);
        m_sizeHandler =
            g_signal_connect_after(m_toplevel, "size-allocate", G_CALLBACK(&GtkCaption::OnSize), this);
    }
    GtkCaption(const GtkCaption&) = delete;
    GtkCaption& operator=(const GtkCaption&) = delete;

    // The header bar itself goes with the window.
    ~GtkCaption() override {
        for (GtkWidget* button : {m_help, m_menu}) {
            if (button != nullptr) {
                g_signal_handlers_disconnect_by_data(button, this);
            }
        }
        for (const gulong handler : {m_iconHandler, m_mapHandler, m_sizeHandler}) {
            if (handler != 0) {
                g_signal_handler_disconnect(m_toplevel, handler);
            }
        }
    }

    std::optional<CaptionPart> HitTest(const wxPoint& point) const override {
        if (gtk_widget_get_window(m_toplevel) == nullptr) {
            return std::nullopt;
        }
        const wxRect header = PlaceOf(m_header);
        if (header.Contains(point)) {
            return HitTestHeader(point, header);
        }
        return HitTestEdges(point, header);
    }

    void SetPressed(bool pressed) override {
        if (pressed) {
            gtk_widget_set_state_flags(m_help, GTK_STATE_FLAG_CHECKED, FALSE);
        } else {
            gtk_widget_unset_state_flags(
                m_help, static_cast<GtkStateFlags>(GTK_STATE_FLAG_CHECKED | GTK_STATE_FLAG_PRELIGHT));
        }
    }

private:
    GtkWidget* AddButton(const char* label, const std::string& name, GCallback clicked) {
        GtkWidget* button = label != nullptr ? gtk_button_new_with_label(label) : gtk_button_new();
        GtkStyleContext* style = gtk_widget_get_style_context(button);
        gtk_style_context_add_class(style, "titlebutton");
        gtk_style_context_add_class(style, "image-button");
        gtk_widget_set_valign(button, GTK_ALIGN_CENTER);
        // As the window's other buttons: the keyboard has F1 and Shift+F1, and Tab stays in the window.
        gtk_widget_set_can_focus(button, FALSE);
        gtk_widget_set_tooltip_text(button, name.c_str());
        atk_object_set_name(gtk_widget_get_accessible(button), name.c_str());
        g_signal_connect(button, "clicked", clicked, this);
        gtk_widget_show(button);
        return button;
    }

    static void OnHelp(GtkButton*, gpointer data) { static_cast<GtkCaption*>(data)->m_callbacks.help(); }
    static void OnMenu(GtkButton*, gpointer data) {
        static_cast<GtkCaption*>(data)->m_callbacks.systemMenu();
    }
    static void OnIcon(GtkWindow*, GParamSpec*, gpointer data) {
        static_cast<GtkCaption*>(data)->UpdateMenuIcon();
    }

    // The toolkit chooses the buttons of the title bar while the window is first shown; this comes after it.
    static void OnMap(GtkWidget*, gpointer data) {
        const GtkCaption& caption = *static_cast<GtkCaption*>(data);
        const bool isFrame = dynamic_cast<wxFrame*>(&caption.m_window) != nullptr;
        gtk_header_bar_set_decoration_layout(GTK_HEADER_BAR(caption.m_header),
                                             DecorationLayout(isFrame).c_str());
    }

    static void OnSize(GtkWidget*, GtkAllocation*, gpointer data) {
        wxTopLevelWindow& window = static_cast<GtkCaption*>(data)->m_window;
        window.m_width = gtk_widget_get_allocated_width(window.m_mainWidget);
        window.m_height = gtk_widget_get_allocated_height(window.m_mainWidget);
    }

    void UpdateMenuIcon() {
        GList* icons = gtk_window_get_icon_list(GTK_WINDOW(m_toplevel));
        GdkPixbuf* best = nullptr;
        for (GList* item = icons; item != nullptr; item = item->next) {
            GdkPixbuf* icon = GDK_PIXBUF(item->data);
            if (best == nullptr || (gdk_pixbuf_get_width(icon) >= kMenuIconSize &&
                                    gdk_pixbuf_get_width(icon) < gdk_pixbuf_get_width(best))) {
                best = icon;
            }
        }
        GtkWidget* image = nullptr;
        if (best != nullptr) {
            GdkPixbuf* scaled =
                gdk_pixbuf_scale_simple(best, kMenuIconSize, kMenuIconSize, GDK_INTERP_BILINEAR);
            image = gtk_image_new_from_pixbuf(scaled);
            g_object_unref(scaled);
        } else {
            image = gtk_image_new_from_icon_name("open-menu-symbolic", GTK_ICON_SIZE_MENU);
        }
        g_list_free(icons);
        gtk_button_set_image(GTK_BUTTON(m_menu), image);
        gtk_button_set_always_show_image(GTK_BUTTON(m_menu), TRUE);
    }

    // Where a widget of this window is on the screen.
    wxRect PlaceOf(GtkWidget* widget) const {
        int x = 0;
        int y = 0;
        gtk_widget_translate_coordinates(widget, m_toplevel, 0, 0, &x, &y);
        int originX = 0;
        int originY = 0;
        gdk_window_get_origin(gtk_widget_get_window(m_toplevel), &originX, &originY);
        return {originX + x, originY + y, gtk_widget_get_allocated_width(widget),
                gtk_widget_get_allocated_height(widget)};
    }

    struct Search {
        const GtkCaption& caption;
        wxPoint point;
        CaptionPart found;
    };

    CaptionPart HitTestHeader(const wxPoint& point, const wxRect& header) const {
        Search search{*this, point, {frame_area::kTitleBar, header}};
        gtk_container_forall(GTK_CONTAINER(m_header), &GtkCaption::Visit, &search);
        return search.found;
    }

    static void Visit(GtkWidget* widget, gpointer data) {
        Search& search = *static_cast<Search*>(data);
        const wxRect place = search.caption.PlaceOf(widget);
        if (gtk_widget_get_visible(widget) == FALSE || !place.Contains(search.point)) {
            return;
        }
        if (const int area = search.caption.AreaOf(widget); area != 0) {
            search.found = {area, place};
        } else if (GTK_IS_CONTAINER(widget)) {
            gtk_container_forall(GTK_CONTAINER(widget), &GtkCaption::Visit, data);
        }
    }

    // The number of a button of the header bar; 0 for anything else.
    int AreaOf(GtkWidget* widget) const {
        if (widget == m_help) {
            return frame_area::kHelpButton;
        }
        if (widget == m_menu) {
            return frame_area::kSystemMenu;
        }
        if (!GTK_IS_BUTTON(widget)) {
            return 0;
        }
        if (HasClass(widget, "close")) {
            return frame_area::kCloseButton;
        }
        if (HasClass(widget, "minimize")) {
            return frame_area::kMinimizeButton;
        }
        if (HasClass(widget, "maximize")) {
            return m_window.IsMaximized() ? frame_area::kRestoreButton : frame_area::kMaximizeButton;
        }
        return 0;
    }

    // The border is what lies around the title bar and the contents within the window's surface.
    std::optional<CaptionPart> HitTestEdges(const wxPoint& point, const wxRect& header) const {
        GdkWindow* surface = gtk_widget_get_window(m_toplevel);
        wxRect all;
        gdk_window_get_origin(surface, &all.x, &all.y);
        all.width = gdk_window_get_width(surface);
        all.height = gdk_window_get_height(surface);
        wxRect inside = header;
        if (GtkWidget* content = gtk_bin_get_child(GTK_BIN(m_toplevel))) {
            inside.Union(PlaceOf(content));
        }
        if (!all.Contains(point) || inside.Contains(point)) {
            return std::nullopt;
        }
        // The row and the column of the point in a three by three field around the inside.
        const int column = point.x < inside.GetLeft() ? 0 : point.x > inside.GetRight() ? 2 : 1;
        const int row = point.y < inside.GetTop() ? 0 : point.y > inside.GetBottom() ? 2 : 1;
        static constexpr std::array<std::array<int, 3>, 3> kAreas{{
            {frame_area::kTopLeftCorner, frame_area::kTopEdge, frame_area::kTopRightCorner},
            {frame_area::kLeftEdge, 0, frame_area::kRightEdge},
            {frame_area::kBottomLeftCorner, frame_area::kBottomEdge, frame_area::kBottomRightCorner},
        }};
        const bool resizable = gtk_window_get_resizable(GTK_WINDOW(m_toplevel)) != FALSE;
        const int area = resizable ? kAreas[static_cast<std::size_t>(row)][static_cast<std::size_t>(column)]
                                   : frame_area::kBorder;
        return CaptionPart{area, wxRect(point, wxSize(1, 1))};
    }

    wxTopLevelWindow& m_window;
    GtkWidget* m_toplevel;
    CaptionCallbacks m_callbacks;
    GtkWidget* m_header;
    GtkWidget* m_help = nullptr;
    GtkWidget* m_menu = nullptr;
    gulong m_iconHandler = 0;
    gulong m_mapHandler = 0;
    gulong m_sizeHandler = 0;
};

} // namespace

std::unique_ptr<CaptionButton> AddCaptionButton(wxTopLevelWindow& window, CaptionCallbacks callbacks) {
    return std::make_unique<GtkCaption>(window, std::move(callbacks));
}

void ExemptFromModality(wxTopLevelWindow& window) {
    // A modal window keeps input from the windows of its own group only.
    GtkWindowGroup* group = gtk_window_group_new();
    gtk_window_group_add_window(group, GTK_WINDOW(window.m_widget));
    g_object_unref(group);
    window.SetExtraStyle(window.GetExtraStyle() | wxTOPLEVEL_EX_DIALOG);
}

} // namespace vnxtest
