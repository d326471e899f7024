#include "helpui/window_help.h"

#include <algorithm>
#include <utility>

#include <wx/dialog.h>
#include <wx/frame.h>
#include <wx/menu.h>
#include <wx/stattext.h>
#include <wx/statusbr.h>

#include "helpui/help_book.h"
#include "helpui/standard_help.h"
#include "widgets/balloon.h"
#include "widgets/frame_area.h"

namespace vnxtest {

namespace {

// From this size on (device-independent pixels) a balloon points at the spot that was clicked.
constexpr int kLargeControl = 80;

// How thick a scroll bar is at least.
constexpr int kThinBar = 8;

// The number of a control by its window id, 0 when it has none. Ids that the toolkit made up are
// negative.
int NumberOfId(int id) {
    switch (id) {
    case wxID_OK:
        return standard_button::kOk;
    case wxID_CANCEL:
        return standard_button::kCancel;
    case wxID_HELP:
        return standard_button::kHelp;
    case wxID_APPLY:
        return standard_button::kApply;
    case wxID_FORWARD:
        return standard_button::kNext;
    case wxID_BACKWARD:
        return standard_button::kBack;
    default:
        return id > 0 && id <= kMaximumControlId ? id : 0;
    }
}

// The control that a label names: the one created after it.
const wxWindow* NamedControl(const wxWindow& label) {
    const wxWindow* next = label.GetNextSibling();
    while (next != nullptr && dynamic_cast<const wxStaticText*>(next) != nullptr) {
        next = next->GetNextSibling();
    }
    return next;
}

// The scroll bar of `window` at a point of the screen, or 0.
int ScrollBarAt(const wxWindow& window, const wxPoint& point) {
    const auto scrolls = [&window](int orientation) {
        return window.CanScroll(orientation) &&
               window.GetScrollRange(orientation) > window.GetScrollThumb(orientation);
    };
    const wxRect whole = window.GetScreenRect();
    const wxSize client = window.GetClientSize();
    // A bar that lies over the contents takes nothing from the client area.
    const int thin = window.FromDIP(kThinBar);
    const int width = std::max(whole.width - client.x, thin);
    const int height = std::max(whole.height - client.y, thin);
    const bool beside = point.x > whole.GetRight() - width && scrolls(wxVERTICAL);
    const bool below = point.y > whole.GetBottom() - height && scrolls(wxHORIZONTAL);
    if (beside == below) {
        return 0;
    }
    return beside ? frame_area::kVerticalScrollBar : frame_area::kHorizontalScrollBar;
}

bool IsLabel(const wxWindow& window) {
    return dynamic_cast<const wxStaticText*>(&window) != nullptr && window.GetLabel().EndsWith(":");
}

// The innermost window at a point of the screen, disabled ones included; of siblings that lie over each
// other (a box and what it frames) the smallest.
wxWindow* FindInnermost(wxWindow& parent, const wxPoint& point) {
    wxWindow* best = nullptr;
    for (wxWindow* child : parent.GetChildren()) {
        if (child->IsTopLevel() || !child->IsShown() || !child->GetScreenRect().Contains(point)) {
            continue;
        }
        const wxSize size = child->GetSize();
        if (best == nullptr || size.x * size.y < best->GetSize().x * best->GetSize().y) {
            best = child;
        }
    }
    if (best == nullptr) {
        return &parent;
    }
    return FindInnermost(*best, point);
}

} // namespace

WindowHelp::WindowHelp(wxTopLevelWindow& window, const HelpTable& table,
                       std::function<void(wxMenu&)> fillSystemMenu)
    : m_window(window), m_templateId(table.window), m_maps(RegisterHelp(table)),
      m_fillSystemMenu(std::move(fillSystemMenu)), m_mode(
                                                       window, [this](wxPoint point) { ShowHelpAt(point); },
                                                       [this](bool on) { m_button->SetPressed(on); }) {
    CaptionCallbacks callbacks;
    callbacks.name = wxString(std::wstring(kWhatsThisHelp));
    callbacks.help = [this] {
        DismissBalloon();
        m_mode.Enter();
    };
    if (m_fillSystemMenu) {
        callbacks.systemMenu = [this] { ShowSystemMenu(); };
        callbacks.fillSystemMenu = m_fillSystemMenu;
    }
    m_button = AddCaptionButton(m_window, std::move(callbacks));
    m_window.Bind(wxEVT_CHAR_HOOK, &WindowHelp::OnCharHook, this);
    m_window.Bind(wxEVT_HELP, &WindowHelp::OnHelp, this);
    m_window.Bind(wxEVT_BUTTON, &WindowHelp::OnHelpButton, this, wxID_HELP);
}

WindowHelp::~WindowHelp() {
    m_mode.Leave();
    m_window.Unbind(wxEVT_CHAR_HOOK, &WindowHelp::OnCharHook, this);
    m_window.Unbind(wxEVT_HELP, &WindowHelp::OnHelp, this);
    m_window.Unbind(wxEVT_BUTTON, &WindowHelp::OnHelpButton, this, wxID_HELP);
}

void WindowHelp::Assign(wxWindow& window, int controlId) {
    m_assigned[&window] = controlId;
    // Bound to this object, so that it ends with it: a window's children outlive its help.
    window.Bind(wxEVT_DESTROY, &WindowHelp::OnAssignedGone, this);
}

void WindowHelp::OnAssignedGone(wxWindowDestroyEvent& event) {
    m_assigned.erase(event.GetWindow());
    event.Skip();
}

int WindowHelp::NumberOf(const wxWindow& window) const {
    const auto assigned = m_assigned.find(&window);
    return assigned != m_assigned.end() ? assigned->second : NumberOfId(window.GetId());
}

const wxWindow& WindowHelp::AnsweringWindow(const wxWindow& window) const {
    for (const wxWindow* candidate = &window; candidate != nullptr && candidate != &m_window;
         candidate = candidate->GetParent()) {
        if (NumberOf(*candidate) != 0) {
            return *candidate;
        }
        const wxWindow* named = IsLabel(*candidate) ? NamedControl(*candidate) : nullptr;
        // A control that is made of others may leave the number to the first of them.
        while (named != nullptr && NumberOf(*named) == 0) {
            const wxWindowList& parts = named->GetChildren();
            named = parts.empty() ? nullptr : parts.front();
        }
        if (named != nullptr) {
            return *named;
        }
    }
    return m_window;
}

HelpKey WindowHelp::KeyOf(const wxWindow& window) const {
    const wxWindow& answering = AnsweringWindow(window);
    return MakeHelpKey(m_templateId, &answering == &m_window ? 0 : NumberOf(answering));
}

void WindowHelp::ShowHelp(wxWindow& control) {
    const wxWindow& answering = AnsweringWindow(control);
    ShowControlHelp(control, answering.GetScreenRect().GetPosition() + answering.GetSize() / 3);
}

void WindowHelp::ShowControlHelp(wxWindow& control, const wxPoint& spot) {
    m_shownKey = KeyOf(control);
    const HelpText text = LookUpHelp(m_maps, m_shownKey);
    auto* answering = const_cast<wxWindow*>(&AnsweringWindow(control));
    // What is large is pointed at in its inside.
    if (answering->GetSize().y > m_window.FromDIP(kLargeControl)) {
        ShowHelpBalloonAt(answering, wxRect(spot, wxSize(1, 1)), text.title, text.body);
    } else {
        ShowHelpBalloon(answering, text.title, text.body);
    }
}

void WindowHelp::ShowHelpAt(const wxPoint& point) {
    if (const std::optional<CaptionPart> part = m_button->HitTest(point)) {
        const bool wide = part->place.width > m_window.FromDIP(kLargeControl);
        ShowPartHelp(part->area, wide ? wxRect(point.x, part->place.y, 1, part->place.height) : part->place);
        return;
    }
    const wxRect spot(point, wxSize(1, 1));
    if (const auto* frame = dynamic_cast<wxFrame*>(&m_window)) {
        const wxMenuBar* menuBar = frame->GetMenuBar();
        if (menuBar != nullptr && menuBar->GetScreenRect().Contains(point)) {
            ShowPartHelp(frame_area::kMenuBar, spot);
            return;
        }
        const wxStatusBar* statusBar = frame->GetStatusBar();
        if (statusBar != nullptr && statusBar->IsShown() && statusBar->GetScreenRect().Contains(point)) {
            ShowStatusBarHelp(*statusBar, point);
            return;
        }
    }
    if (!wxRect(m_window.ClientToScreen(wxPoint()), m_window.GetClientSize()).Contains(point)) {
        return;
    }
    wxWindow* innermost = FindInnermost(m_window, point);
    if (const int bar = ScrollBarAt(*innermost, point); bar != 0) {
        ShowPartHelp(bar, spot);
    } else if (&AnsweringWindow(*innermost) == &m_window) {
        ShowPartHelp(0, spot);
    } else {
        ShowControlHelp(*innermost, point);
    }
}

void WindowHelp::ShowStatusBarHelp(const wxStatusBar& statusBar, const wxPoint& point) {
    const wxPoint origin = statusBar.ClientToScreen(wxPoint());
    const wxSize size = statusBar.GetSize();
    const bool grip = statusBar.HasFlag(wxSTB_SIZEGRIP) && !m_window.IsMaximized();
    if (grip && point.x - origin.x >= size.x - size.y) {
        ShowPartHelp(frame_area::kSizeBox, wxRect(point, wxSize(1, 1)));
        return;
    }
    for (int field = 0; field < statusBar.GetFieldsCount(); ++field) {
        wxRect place;
        if (!statusBar.GetFieldRect(field, place)) {
            continue;
        }
        place.Offset(origin);
        const int area = frame_area::kStatusField + field;
        if (place.Contains(point) && FindHelp(m_maps, MakeHelpKey(m_templateId, area))) {
            ShowPartHelp(area, place);
            return;
        }
    }
    ShowPartHelp(frame_area::kStatusBar, wxRect(point, wxSize(1, 1)));
}

void WindowHelp::ShowPartHelp(int area, const wxRect& place) {
    m_shownKey = MakeHelpKey(m_templateId, area);
    const HelpText text = LookUpHelp(m_maps, m_shownKey);
    ShowHelpBalloonAt(&m_window, place, text.title, text.body);
}

void WindowHelp::OpenTopic(HelpKey key) {
    if (HelpBook* book = HelpBook::Current()) {
        book->OpenTopic(&m_window, LookUpTopic(m_maps, key));
    }
}

void WindowHelp::OnCharHook(wxKeyEvent& event) {
    if (event.GetKeyCode() != WXK_F1 || event.HasAnyModifiers()) {
        if (event.GetKeyCode() == WXK_F1 && event.GetModifiers() == wxMOD_SHIFT) {
            DismissBalloon();
            m_mode.Enter();
            return;
        }
        event.Skip();
        return;
    }
    // A second F1, while the balloon of the first is still there, asks for more than the balloon says.
    if (CurrentBalloon().isHelp) {
        DismissBalloon();
        OpenTopic(m_shownKey);
        return;
    }
    HelpOnFocus();
}

void WindowHelp::OnHelp(wxHelpEvent& event) {
    auto* control = dynamic_cast<wxWindow*>(event.GetEventObject());
    // Some systems send the message for every F1, which has been answered already.
    if (m_mode.IsOn() || (control != nullptr && CurrentBalloon().isHelp && KeyOf(*control) == m_shownKey)) {
        return;
    }
    if (control != nullptr && control != &m_window) {
        ShowHelp(*control);
    } else {
        HelpOnFocus();
    }
}

void WindowHelp::OnHelpButton(wxCommandEvent&) {
    OpenTopic(MakeHelpKey(m_templateId));
}

void WindowHelp::HelpOnFocus() {
    wxWindow* focus = wxWindow::FindFocus();
    if (focus == nullptr || wxGetTopLevelParent(focus) != &m_window ||
        &AnsweringWindow(*focus) == &m_window) {
        ShowPartHelp(0, wxRect(m_window.ClientToScreen(wxPoint()), m_window.GetClientSize() / 3));
        return;
    }
    ShowHelp(*focus);
}

void WindowHelp::ShowSystemMenu() {
    DismissBalloon();
    wxMenu menu;
    const auto add = [&menu](const wxString& label, bool enabled, std::function<void()> act) {
        wxMenuItem* item = menu.Append(wxID_ANY, label);
        item->Enable(enabled);
        menu.Bind(
            wxEVT_MENU, [act = std::move(act)](wxCommandEvent&) { act(); }, item->GetId());
    };
    add("&Restore", m_window.IsMaximized(), [this] { m_window.Maximize(false); });
    add("Mi&nimize", true, [this] { m_window.Iconize(); });
    add("Ma&ximize", !m_window.IsMaximized(), [this] { m_window.Maximize(); });
    menu.AppendSeparator();
    m_fillSystemMenu(menu);
    menu.AppendSeparator();
    add("&Close\tAlt+F4", true, [this] { m_window.Close(); });
    m_window.PopupMenu(&menu);
}

} // namespace vnxtest
