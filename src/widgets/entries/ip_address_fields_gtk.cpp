// The fields of an address entry without a control of the system: four entries in one frame. The arrow
// keys, Backspace and Delete at an end cross into the neighbour; Home and End go to the first and the last
// field; a separator moves on when the field is not empty.
#include "widgets/entries/ip_address_fields.h"

#include <algorithm>
#include <utility>

#include <gtk/gtk.h>
#include <wx/dcclient.h>
#include <wx/renderer.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/textctrl.h>
#include <wx/utils.h>

#include "widgets/accessible_name.h"
#include "widgets/entries/ip_address_ctrl.h"
#include "widgets/make_child.h"

namespace vnxtest {

namespace {

constexpr long kFieldEnd = kIpFieldDigits;

// Removes all that a theme draws around an entry.
void MakeFrameless(wxTextCtrl& entry) {
    // Without a frame a theme still draws one around the entry that has the focus.
    static constexpr char kStyle[] =
        "entry { border: none; box-shadow: none; outline: none; background: none; padding: 0; min-height: 0; }";
    GtkCssProvider* provider = gtk_css_provider_new();
    gtk_css_provider_load_from_data(provider, kStyle, -1, nullptr);
    gtk_style_context_add_provider(gtk_widget_get_style_context(entry.m_widget), GTK_STYLE_PROVIDER(provider),
                                   GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    g_object_unref(provider);
}

// Shift+Tab too enters the first field: the toolkit would choose the last one.
gboolean OnEnter(GtkWidget*, GtkDirectionType direction, gpointer data) {
    auto& control = *static_cast<IpAddressCtrl*>(data);
    if (direction != GTK_DIR_TAB_BACKWARD || control.FocusedField() >= 0 || !control.IsEnabled()) {
        return FALSE;
    }
    control.SetFocusField(0);
    return TRUE;
}

class EntryFields final : public IpAddressFields {
public:
    EntryFields(IpAddressCtrl& control, const wxString& accessibleName, std::function<void()> changed);

    IpFieldTexts Texts() const override;
    void SetTexts(const IpFieldTexts& texts) override;
    void SetFocusField(int field) override;
    int FocusedField() const override;

private:
    wxTextCtrl* Field(int field) const { return m_fields[static_cast<std::size_t>(field)]; }
    int EntryHeight();
    void OnPaint(wxPaintEvent& event);
    void OnChar(int field, wxKeyEvent& event);
    void OnTyped(int field, wxChar typed);
    void OnTypedDigit(int field, wxChar digit);
    // Handles a key that types no character. False if it is left to the field.
    bool OnKey(int field, const wxKeyEvent& event);
    void OnSeparator(int field);
    void OnText(int field, wxCommandEvent& event);
    void OnPaste(int field);
    void OnCopy(int field, wxClipboardTextEvent& event);
    // Replaces the selection of a field by digits if they fit, the result at most 255; refuses them
    // otherwise.
    bool Insert(int field, const wxString& digits);
    void Refuse(int field);
    // With nothing selected.
    bool IsCaretAt(int field, long position) const;
    // Puts the caret into another field; false if there is no such field.
    bool MoveTo(int field, long position);
    void EraseAt(int field, long position);
    void LeaveByTab(bool forward);

    IpAddressCtrl& m_control;
    std::function<void()> m_changed;
    std::array<wxTextCtrl*, kIpFields> m_fields{};
    int m_typedOver = -1; // the field whose text is to be selected
};

int EntryFields::EntryHeight() {
    auto* entry = MakeChild<wxTextCtrl>(&m_control, wxID_ANY);
    const int height = entry->GetBestSize().y;
    entry->Destroy();
    return height;
}

EntryFields::EntryFields(IpAddressCtrl& control, const wxString& accessibleName,
                         std::function<void()> changed)
    : m_control(control), m_changed(std::move(changed)) {
    // One frame around all fields, drawn as an entry; the fields have none.
    m_control.SetBackgroundStyle(wxBG_STYLE_PAINT);
    m_control.Bind(wxEVT_PAINT, &EntryFields::OnPaint, this);
    g_signal_connect(m_control.m_widget, "focus", G_CALLBACK(OnEnter), &m_control);
    // A click beside the fields is a click on the control.
    m_control.Bind(wxEVT_LEFT_DOWN, [this](wxMouseEvent& event) {
        SetFocusField(std::clamp(event.GetX() * kIpFields / m_control.GetClientSize().x, 0, kIpFields - 1));
    });
    auto* row = MakeChild<wxBoxSizer>(wxHORIZONTAL);
    for (int i = 0; i < kIpFields; ++i) {
        if (i > 0) {
            auto* dot = MakeChild<wxStaticText>(&m_control, wxID_ANY, ".");
            dot->Bind(wxEVT_LEFT_DOWN, [this, i](wxMouseEvent&) { SetFocusField(i); });
            row->Add(dot, wxSizerFlags().CentreVertical());
        }
        auto* field = MakeChild<wxTextCtrl>(&m_control, wxID_ANY, wxEmptyString, wxDefaultPosition,
                                            wxDefaultSize, wxTE_CENTRE | wxTE_PROCESS_TAB | wxBORDER_NONE);
        MakeFrameless(*field);
        field->SetMaxLength(kIpFieldDigits);
        field->SetInitialSize(field->GetSizeFromText("000") + wxSize(field->FromDIP(4), 0)); // and the caret
        SetAccessibleName(*field, wxString::Format("%s, field %d of %d", accessibleName, i + 1, kIpFields));
        field->Bind(wxEVT_CHAR, [this, i](wxKeyEvent& event) { OnChar(i, event); });
        field->Bind(wxEVT_TEXT, [this, i](wxCommandEvent& event) { OnText(i, event); });
        field->Bind(wxEVT_TEXT_PASTE, [this, i](wxClipboardTextEvent&) { OnPaste(i); });
        field->Bind(wxEVT_TEXT_COPY, [this, i](wxClipboardTextEvent& event) { OnCopy(i, event); });
        field->Bind(wxEVT_SET_FOCUS, [this](wxFocusEvent& event) {
            m_control.Refresh();
            event.Skip();
        });
        field->Bind(wxEVT_KILL_FOCUS, [this](wxFocusEvent& event) {
            m_control.Refresh();
            event.Skip();
        });
        m_fields[static_cast<std::size_t>(i)] = field;
        row->Add(field, wxSizerFlags(1).CentreVertical());
    }
    auto* sizer = MakeChild<wxBoxSizer>(wxVERTICAL);
    sizer->AddStretchSpacer();
    sizer->Add(row, wxSizerFlags().Expand().Border(wxLEFT | wxRIGHT, m_control.FromDIP(4)));
    sizer->AddStretchSpacer();
    m_control.SetSizer(sizer);
    // As high as an entry of the platform.
    const int height = Field(0)->GetBestSize().y;
    m_control.SetMinSize(wxSize(sizer->CalcMin().x, std::max(height, EntryHeight())));
    m_control.SetSize(m_control.GetMinSize());
}

void EntryFields::OnPaint(wxPaintEvent&) {
    wxPaintDC dc(&m_control);
    int flags = m_control.IsEnabled() ? 0 : static_cast<int>(wxCONTROL_DISABLED);
    const wxWindow* focus = wxWindow::FindFocus();
    if (focus != nullptr && focus->GetParent() == &m_control) {
        flags |= wxCONTROL_FOCUSED;
    }
    wxRendererNative::Get().DrawTextCtrl(&m_control, dc, m_control.GetClientRect(), flags);
}

IpFieldTexts EntryFields::Texts() const {
    IpFieldTexts texts;
    std::ranges::transform(m_fields, texts.begin(),
                           [](const wxTextCtrl* field) { return field->GetValue(); });
    return texts;
}

void EntryFields::SetTexts(const IpFieldTexts& texts) {
    for (std::size_t i = 0; i < texts.size(); ++i) {
        m_fields[i]->ChangeValue(texts[i]);
    }
}

void EntryFields::SetFocusField(int field) {
    wxTextCtrl* entry = Field(field);
    entry->SetFocus();
    entry->SelectAll();
}

int EntryFields::FocusedField() const {
    const auto found = std::ranges::find(m_fields, wxWindow::FindFocus());
    return found == m_fields.end() ? -1 : static_cast<int>(found - m_fields.begin());
}

bool EntryFields::MoveTo(int field, long position) {
    if (field < 0 || field >= kIpFields) {
        return false;
    }
    wxTextCtrl* entry = Field(field);
    entry->SetFocus();
    entry->SetInsertionPoint(std::min(position, entry->GetLastPosition()));
    return true;
}

void EntryFields::OnChar(int field, wxKeyEvent& event) {
    if (std::exchange(m_typedOver, -1) == field) {
        Field(field)->SelectAll();
    }
    const wxChar typed = event.GetUnicodeKey();
    if (typed > L' ' && typed != WXK_DELETE && !event.HasModifiers()) {
        OnTyped(field, typed);
    } else if (!OnKey(field, event)) {
        event.Skip();
    }
}

void EntryFields::OnTyped(int field, wxChar typed) {
    if (typed >= L'0' && typed <= L'9') {
        OnTypedDigit(field, typed);
    } else if (typed == L'.' || typed == L',') {
        OnSeparator(field);
    } else {
        wxBell();
    }
}

bool EntryFields::OnKey(int field, const wxKeyEvent& event) {
    const bool plain = !event.HasAnyModifiers();
    switch (event.GetKeyCode()) {
    case WXK_SPACE:
        OnSeparator(field);
        return true;
    case WXK_TAB:
        LeaveByTab(!event.ShiftDown());
        return true;
    case WXK_LEFT:
    case WXK_NUMPAD_LEFT:
        return plain && IsCaretAt(field, 0) && MoveTo(field - 1, kFieldEnd);
    case WXK_RIGHT:
    case WXK_NUMPAD_RIGHT:
        return plain && IsCaretAt(field, Field(field)->GetLastPosition()) && MoveTo(field + 1, 0);
    case WXK_BACK:
        if (IsCaretAt(field, 0) && MoveTo(field - 1, kFieldEnd)) {
            EraseAt(field - 1, Field(field - 1)->GetLastPosition() - 1);
            return true;
        }
        return false;
    case WXK_DELETE:
    case WXK_NUMPAD_DELETE:
        if (IsCaretAt(field, Field(field)->GetLastPosition()) && MoveTo(field + 1, 0)) {
            EraseAt(field + 1, 0);
            return true;
        }
        return false;
    case WXK_HOME:
    case WXK_NUMPAD_HOME:
        return plain && MoveTo(0, 0);
    case WXK_END:
    case WXK_NUMPAD_END:
        return plain && MoveTo(kIpFields - 1, kFieldEnd);
    default:
        return false;
    }
}

bool EntryFields::IsCaretAt(int field, long position) const {
    const wxTextCtrl* entry = Field(field);
    return !entry->HasSelection() && entry->GetInsertionPoint() == position;
}

bool EntryFields::Insert(int field, const wxString& digits) {
    wxTextCtrl* entry = Field(field);
    long from = 0;
    long to = 0;
    entry->GetSelection(&from, &to);
    wxString text = entry->GetValue();
    text.replace(static_cast<std::size_t>(from), static_cast<std::size_t>(to - from), digits);
    if (text.length() > kIpFieldDigits) {
        wxBell();
        return false;
    }
    if (!FitsIpField(text)) {
        Refuse(field);
        return false;
    }
    entry->ChangeValue(text);
    entry->SetInsertionPoint(from + static_cast<long>(digits.length()));
    return true;
}

// The toolkit sets the caret once more after the event of a key. The text is selected after that, or before
// the next key if that comes first.
void EntryFields::Refuse(int field) {
    RefuseIpField(m_control, field);
    m_typedOver = field;
    m_control.CallAfter([this, field] {
        if (std::exchange(m_typedOver, -1) == field) {
            Field(field)->SelectAll();
        }
    });
}

void EntryFields::OnTypedDigit(int field, wxChar digit) {
    if (!Insert(field, wxString(digit))) {
        return;
    }
    const wxTextCtrl* entry = Field(field);
    if (entry->GetInsertionPoint() == static_cast<long>(kIpFieldDigits) && field + 1 < kIpFields) {
        SetFocusField(field + 1);
    }
    m_changed();
}

void EntryFields::OnSeparator(int field) {
    // Two dots in a row, or one over a field that has just been entered, do not skip a field.
    const wxTextCtrl* entry = Field(field);
    long from = 0;
    long to = 0;
    entry->GetSelection(&from, &to);
    if (!entry->IsEmpty() && from == to && field + 1 < kIpFields) {
        SetFocusField(field + 1);
    }
}

void EntryFields::EraseAt(int field, long position) {
    wxTextCtrl* entry = Field(field);
    wxString text = entry->GetValue();
    if (position < 0 || position >= static_cast<long>(text.length())) {
        return;
    }
    text.erase(static_cast<std::size_t>(position), 1);
    entry->ChangeValue(text);
    entry->SetInsertionPoint(position);
    m_changed();
}

void EntryFields::OnText(int field, wxCommandEvent& event) {
    // Not for typed digits. Deleting, cutting, dropping and input methods may leave a text that is no
    // number. The parents get the control's event only, not those of its fields.
    if (event.GetEventObject() != Field(field)) {
        event.Skip();
        return;
    }
    wxTextCtrl* entry = Field(field);
    wxString digits;
    for (const wxUniChar character : entry->GetValue()) {
        if (character >= '0' && character <= '9') {
            digits += character;
        }
    }
    digits = digits.Left(kIpFieldDigits);
    const bool fits = digits.empty() || FitsIpField(digits);
    if (!fits) {
        digits.clear();
    }
    if (digits != entry->GetValue()) {
        wxBell();
        entry->ChangeValue(digits);
        entry->SetInsertionPointEnd();
    }
    if (!fits) {
        Refuse(field);
    }
    m_changed();
}

void EntryFields::OnPaste(int field) {
    const wxString text = ClipboardText();
    if (m_control.SetText(text)) {
        MoveTo(kIpFields - 1, kFieldEnd);
        m_changed();
        return;
    }
    if (HasTooLargeNumber(text)) {
        Refuse(field);
    } else if (!IsIpFieldText(text)) {
        wxBell();
    } else if (Insert(field, text)) {
        m_changed();
    }
}

void EntryFields::OnCopy(int field, wxClipboardTextEvent& event) {
    const wxTextCtrl* entry = Field(field);
    if (entry->HasSelection() && entry->GetStringSelection() != entry->GetValue()) {
        event.Skip();
        return;
    }
    const wxString text = m_control.AreAllFieldsFilled() ? m_control.GetText() : entry->GetValue();
    if (!text.empty()) {
        SetClipboardText(text);
    }
}

void EntryFields::LeaveByTab(bool forward) {
    // From the field at the far end, so that Tab does not stop at the others.
    wxTextCtrl* last = Field(forward ? kIpFields - 1 : 0);
    last->SetFocus();
    last->Navigate(forward ? wxNavigationKeyEvent::IsForward : wxNavigationKeyEvent::IsBackward);
}

} // namespace

std::unique_ptr<IpAddressFields> MakeIpAddressFields(IpAddressCtrl& control, const wxString& accessibleName,
                                                     std::function<void()> changed) {
    return std::make_unique<EntryFields>(control, accessibleName, std::move(changed));
}

} // namespace vnxtest
