// The accessible object of GTK's accessibility library, in the place of the one that GTK would make.
#include <algorithm>
#include <utility>

#include <gtk/gtk-a11y.h>
#include <gtk/gtk.h>
#include <wx/window.h>

#include "widgets/access/character_offsets.h"
#include "widgets/access/text_access.h"
#include "widgets/access/text_units.h"

namespace vnxtest {

namespace {

class GtkTextAccess final : public TextAccess {
public:
    GtkTextAccess(wxWindow& window, ReadableText& text, const wxString& name);
    ~GtkTextAccess() override;

    wxWindow& Window() { return m_window; }
    ReadableText& Readable() { return Text(); }
    void NoteReader() { m_isRead = true; }

    int Offset(std::size_t byte) {
        return static_cast<int>(m_offsets.CharactersBefore(Text().ReadableUtf8(), byte));
    }
    std::size_t Byte(int offset) {
        const std::string_view text = Text().ReadableUtf8();
        return offset < 0 ? text.size() : m_offsets.ByteOf(text, static_cast<std::size_t>(offset));
    }

protected:
    bool IsRead() const override { return m_isRead; }
    void TellAdded(std::size_t from, std::size_t to) override;
    void TellEmptied() override;
    void TellMoved() override;
    void Announce(const std::string& sentence) override;

private:
    wxWindow& m_window;
    AtkObject* m_object;
    CharacterOffsets m_offsets;
    int m_told = 0; // characters
    bool m_isRead = false;
    bool m_hadSelection = false;
};

// The object. `access` is null once the control is gone; assistive software may keep the object longer.
struct ReportObject {
    GtkContainerAccessible parent;
    GtkTextAccess* access;
};
struct ReportObjectClass {
    GtkContainerAccessibleClass parent;
};

GtkTextAccess* AccessOf(gpointer object) {
    auto* const access = static_cast<ReportObject*>(object)->access;
    if (access != nullptr) {
        access->NoteReader();
    }
    return access;
}

char* Copy(GtkTextAccess& access, ByteRange range, int* start, int* end) {
    const std::string_view text =
        access.Readable().ReadableUtf8().substr(range.first, range.second - range.first);
    if (start != nullptr && end != nullptr) {
        *start = access.Offset(range.first);
        *end = access.Offset(range.second);
    }
    return g_strndup(text.data(), text.size());
}

TextUnit UnitOf(AtkTextBoundary boundary) {
    switch (boundary) {
    case ATK_TEXT_BOUNDARY_CHAR:
        return TextUnit::Character;
    case ATK_TEXT_BOUNDARY_WORD_START:
    case ATK_TEXT_BOUNDARY_WORD_END:
        return TextUnit::Word;
    default:
        return TextUnit::Line;
    }
}

TextUnit UnitOf(AtkTextGranularity granularity) {
    return granularity == ATK_TEXT_GRANULARITY_CHAR   ? TextUnit::Character
           : granularity == ATK_TEXT_GRANULARITY_WORD ? TextUnit::Word
                                                      : TextUnit::Line;
}

char* GetText(AtkText* text, int start, int end) {
    GtkTextAccess* const access = AccessOf(text);
    if (access == nullptr) {
        return nullptr;
    }
    const std::size_t from = access->Byte(std::max(0, start));
    return Copy(*access, {from, std::max(from, access->Byte(end))}, nullptr, nullptr);
}

char* GetStringAt(AtkText* text, int offset, AtkTextGranularity granularity, int* start, int* end) {
    GtkTextAccess* const access = AccessOf(text);
    if (access == nullptr) {
        return nullptr;
    }
    const std::string_view all = access->Readable().ReadableUtf8();
    return Copy(*access, UnitAround(all, access->Byte(offset), UnitOf(granularity)), start, end);
}

char* GetTextAt(AtkText* text, int offset, AtkTextBoundary boundary, int* start, int* end) {
    GtkTextAccess* const access = AccessOf(text);
    if (access == nullptr) {
        return nullptr;
    }
    const std::string_view all = access->Readable().ReadableUtf8();
    return Copy(*access, UnitAround(all, access->Byte(offset), UnitOf(boundary)), start, end);
}

char* GetTextBefore(AtkText* text, int offset, AtkTextBoundary boundary, int* start, int* end) {
    GtkTextAccess* const access = AccessOf(text);
    if (access == nullptr) {
        return nullptr;
    }
    const std::string_view all = access->Readable().ReadableUtf8();
    const std::size_t from = UnitAround(all, access->Byte(offset), UnitOf(boundary)).first;
    return Copy(*access,
                from == 0 ? ByteRange{0, 0} : UnitAround(all, CharacterBefore(all, from), UnitOf(boundary)),
                start, end);
}

char* GetTextAfter(AtkText* text, int offset, AtkTextBoundary boundary, int* start, int* end) {
    GtkTextAccess* const access = AccessOf(text);
    if (access == nullptr) {
        return nullptr;
    }
    const std::string_view all = access->Readable().ReadableUtf8();
    const std::size_t to = UnitAround(all, access->Byte(offset), UnitOf(boundary)).second;
    return Copy(*access, to == all.size() ? ByteRange{to, to} : UnitAround(all, to, UnitOf(boundary)), start,
                end);
}

gunichar GetCharacter(AtkText* text, int offset) {
    GtkTextAccess* const access = AccessOf(text);
    if (access == nullptr) {
        return 0;
    }
    const std::string_view all = access->Readable().ReadableUtf8();
    const std::size_t at = access->Byte(offset);
    return at < all.size() ? g_utf8_get_char(all.data() + at) : 0;
}

int GetCount(AtkText* text) {
    GtkTextAccess* const access = AccessOf(text);
    return access == nullptr ? 0 : access->Offset(access->Readable().ReadableUtf8().size());
}

int GetCaret(AtkText* text) {
    GtkTextAccess* const access = AccessOf(text);
    return access == nullptr ? 0 : access->Offset(access->Readable().CaretByte());
}

gboolean SetCaret(AtkText* text, int offset) {
    GtkTextAccess* const access = AccessOf(text);
    if (access == nullptr) {
        return FALSE;
    }
    const std::size_t at = access->Byte(offset);
    access->Readable().SelectBytes(at, at);
    return TRUE;
}

int GetSelections(AtkText* text) {
    GtkTextAccess* const access = AccessOf(text);
    if (access == nullptr) {
        return 0;
    }
    const ByteRange selected = access->Readable().SelectedBytes();
    return selected.first == selected.second ? 0 : 1;
}

char* GetSelection(AtkText* text, int number, int* start, int* end) {
    GtkTextAccess* const access = AccessOf(text);
    const ByteRange selected = access == nullptr ? ByteRange() : access->Readable().SelectedBytes();
    if (number != 0 || selected.first == selected.second) {
        *start = *end = 0;
        return nullptr;
    }
    return Copy(*access, selected, start, end);
}

gboolean AddSelection(AtkText* text, int start, int end) {
    GtkTextAccess* const access = AccessOf(text);
    if (access == nullptr || GetSelections(text) != 0) {
        return FALSE;
    }
    access->Readable().SelectBytes(access->Byte(start), access->Byte(end));
    return TRUE;
}

gboolean RemoveSelection(AtkText* text, int number) {
    return number == 0 && GetSelections(text) == 1 && SetCaret(text, GetCaret(text)) != FALSE;
}

gboolean SetSelection(AtkText* text, int number, int start, int end) {
    return number == 0 && RemoveSelection(text, 0) != FALSE && AddSelection(text, start, end) != FALSE;
}

// Where the window's client area begins, in the coordinates that are asked for.
wxPoint Origin(GtkTextAccess& access, AtkCoordType coordinates) {
    const wxPoint screen = access.Window().ClientToScreen(wxPoint(0, 0));
    if (coordinates == ATK_XY_SCREEN) {
        return screen;
    }
    int x = 0;
    int y = 0;
    gdk_window_get_origin(gtk_widget_get_window(gtk_widget_get_toplevel(access.Window().m_widget)), &x, &y);
    return screen - wxPoint(x, y);
}

// NOLINTNEXTLINE(readability-function-size): the toolkit's parameters
void GetExtents(AtkText* text, int offset, int* x, int* y, int* width, int* height,
                AtkCoordType coordinates) {
    GtkTextAccess* const access = AccessOf(text);
    wxRect place;
    if (access != nullptr) {
        place = access->Readable().PlaceOfByte(access->Byte(offset));
        place.Offset(Origin(*access, coordinates));
    }
    *x = place.x;
    *y = place.y;
    *width = place.width;
    *height = place.height;
}

int GetOffsetAt(AtkText* text, int x, int y, AtkCoordType coordinates) {
    GtkTextAccess* const access = AccessOf(text);
    if (access == nullptr) {
        return -1;
    }
    return access->Offset(access->Readable().ByteAtPlace(wxPoint(x, y) - Origin(*access, coordinates)));
}

// The text has one look.
AtkAttributeSet* GetRunAttributes(AtkText* text, int, int* start, int* end) {
    *start = 0;
    *end = GetCount(text);
    return nullptr;
}

AtkAttributeSet* GetDefaultAttributes(AtkText*) {
    return nullptr;
}

void SetUpText(gpointer interface, gpointer) {
    auto* const text = static_cast<AtkTextIface*>(interface);
    text->get_text = GetText;
    text->get_string_at_offset = GetStringAt;
    text->get_text_at_offset = GetTextAt;
    text->get_text_before_offset = GetTextBefore;
    text->get_text_after_offset = GetTextAfter;
    text->get_character_at_offset = GetCharacter;
    text->get_character_count = GetCount;
    text->get_caret_offset = GetCaret;
    text->set_caret_offset = SetCaret;
    text->get_n_selections = GetSelections;
    text->get_selection = GetSelection;
    text->add_selection = AddSelection;
    text->remove_selection = RemoveSelection;
    text->set_selection = SetSelection;
    text->get_character_extents = GetExtents;
    text->get_offset_at_point = GetOffsetAt;
    text->get_run_attributes = GetRunAttributes;
    text->get_default_attributes = GetDefaultAttributes;
}

gpointer& ParentClass() {
    static gpointer parent = nullptr;
    return parent;
}

AtkStateSet* RefStates(AtkObject* object) {
    AtkStateSet* const states = ATK_OBJECT_CLASS(ParentClass())->ref_state_set(object);
    if (AccessOf(object) != nullptr) {
        for (const AtkStateType state :
             {ATK_STATE_MULTI_LINE, ATK_STATE_READ_ONLY, ATK_STATE_SELECTABLE_TEXT}) {
            atk_state_set_add_state(states, state);
        }
    }
    return states;
}

// What is added is told when the user is not being told something else.
AtkAttributeSet* GetAttributes(AtkObject* object) {
    AtkAttributeSet* attributes = ATK_OBJECT_CLASS(ParentClass())->get_attributes(object);
    for (const char* const name : {"live", "container-live"}) {
        auto* const attribute = static_cast<AtkAttribute*>(g_malloc(sizeof(AtkAttribute)));
        attribute->name = g_strdup(name);
        attribute->value = g_strdup("polite");
        attributes = g_slist_prepend(attributes, attribute);
    }
    return attributes;
}

void SetUpClass(gpointer objectClass, gpointer) {
    ParentClass() = g_type_class_peek_parent(objectClass);
    ATK_OBJECT_CLASS(objectClass)->ref_state_set = RefStates;
    ATK_OBJECT_CLASS(objectClass)->get_attributes = GetAttributes;
}

GType ReportObjectType() {
    static const GType type = [] {
        const GType made = g_type_register_static_simple(
            GTK_TYPE_CONTAINER_ACCESSIBLE, "VnxtestTextAccessible", sizeof(ReportObjectClass), SetUpClass,
            sizeof(ReportObject), nullptr, G_TYPE_FLAG_NONE);
        const GInterfaceInfo text{SetUpText, nullptr, nullptr};
        g_type_add_interface_static(made, ATK_TYPE_TEXT, &text);
        return made;
    }();
    return type;
}

// GTK asks a widget's class for its accessible object, and here that class is of every window of the toolkit.
// So the class is given a function that knows the objects of this file by this name, and else does as before.
constexpr const char* kObjectOfWidget = "vnxtest-text-accessible";

using GetAccessible = AtkObject* (*)(GtkWidget*);

GetAccessible& UsualObject() {
    static GetAccessible usual = nullptr;
    return usual;
}

AtkObject* ObjectOf(GtkWidget* widget) {
    gpointer const own = g_object_get_data(G_OBJECT(widget), kObjectOfWidget);
    return own != nullptr ? ATK_OBJECT(own) : UsualObject()(widget);
}

GtkTextAccess::GtkTextAccess(wxWindow& window, ReadableText& text, const wxString& name)
    : TextAccess(text), m_window(window) {
    GtkWidget* const widget = window.m_wxwindow;
    m_object = ATK_OBJECT(g_object_new(ReportObjectType(), "widget", widget, nullptr));
    reinterpret_cast<ReportObject*>(m_object)->access = this;
    g_object_set_data(G_OBJECT(widget), kObjectOfWidget, m_object);
    GtkWidgetClass* const widgetClass = GTK_WIDGET_GET_CLASS(widget);
    if (widgetClass->get_accessible != ObjectOf) {
        UsualObject() = std::exchange(widgetClass->get_accessible, ObjectOf);
    }
    atk_object_initialize(m_object, widget);
    atk_object_set_role(m_object, ATK_ROLE_TEXT);
    atk_object_set_name(m_object, name.utf8_str());
}

GtkTextAccess::~GtkTextAccess() {
    reinterpret_cast<ReportObject*>(m_object)->access = nullptr;
    g_object_set_data(G_OBJECT(m_window.m_wxwindow), kObjectOfWidget, nullptr);
    gtk_accessible_set_widget(GTK_ACCESSIBLE(m_object), nullptr);
    g_object_unref(m_object);
}

void GtkTextAccess::TellAdded(std::size_t from, std::size_t to) {
    const int begin = Offset(from);
    m_told = Offset(to);
    g_signal_emit_by_name(m_object, "text-changed::insert", begin, m_told - begin);
}

void GtkTextAccess::TellEmptied() {
    m_offsets.Clear();
    if (m_isRead) {
        g_signal_emit_by_name(m_object, "text-changed::delete", 0, m_told);
    }
    m_told = 0;
}

void GtkTextAccess::TellMoved() {
    g_signal_emit_by_name(m_object, "text-caret-moved", Offset(Text().CaretByte()));
    const ByteRange selected = Text().SelectedBytes();
    const bool hasSelection = selected.first != selected.second;
    if (hasSelection || m_hadSelection) {
        g_signal_emit_by_name(m_object, "text-selection-changed");
    }
    m_hadSelection = hasSelection;
}

// Newer libraries have a signal with an urgency (1: polite) in place of the one without.
void GtkTextAccess::Announce(const std::string& sentence) {
    if (g_signal_lookup("notification", ATK_TYPE_OBJECT) != 0) {
        g_signal_emit_by_name(m_object, "notification", sentence.c_str(), 1);
    } else if (g_signal_lookup("announcement", ATK_TYPE_OBJECT) != 0) {
        g_signal_emit_by_name(m_object, "announcement", sentence.c_str());
    }
}

} // namespace

std::unique_ptr<TextAccess> MakeTextAccess(wxWindow& window, ReadableText& text, const wxString& name) {
    return std::make_unique<GtkTextAccess>(window, text, name);
}

} // namespace vnxtest
