#include "widgets/balloon.h"

#include <memory>
#include <utility>

#include <wx/event.h>
#include <wx/eventfilter.h>
#include <wx/textentry.h>
#include <wx/toplevel.h>
#include <wx/utils.h>

#include "widgets/balloon_window.h"
#include "widgets/entry_events.h"

namespace vnxtest {

namespace {

bool IsInside(const wxWindow* window, const wxWindow* outer) {
    while (window != nullptr && window != outer) {
        window = window->IsTopLevel() ? nullptr : window->GetParent();
    }
    return window != nullptr;
}

// The balloon that is shown, if any, and what ends it. One object for the program: it outlives the balloon,
// whose last event may still be in it.
class Balloon final : private wxEventFilter {
public:
    // Points at `part` (screen coordinates) of or in `anchor`.
    void Show(wxWindow* anchor, const wxRect& part, BalloonContents contents) {
        Dismiss();
        m_anchor = anchor;
        m_owner = wxGetTopLevelParent(anchor);
        m_anchorPlace = anchor->GetScreenRect();
        m_contents = std::move(contents);
        m_window = MakeBalloonWindow(m_owner, part, m_contents);
        wxEvtHandler::AddFilter(this);
    }

    void Dismiss() {
        if (m_window != nullptr) {
            wxEvtHandler::RemoveFilter(this);
            m_window.reset();
            m_anchor = nullptr;
        }
    }

    ShownBalloon Now() const {
        if (m_window == nullptr) {
            return {};
        }
        return {m_anchor,        m_window->Window(), m_window->Place(), m_contents.title,
                m_contents.text, m_contents.icon,    m_contents.isHelp};
    }

private:
    // While the balloon is shown, sees every event of the program before its window does.
    int FilterEvent(wxEvent& event) override {
        const wxEventType type = event.GetEventType();
        if (type == wxEVT_CHAR_HOOK) {
            return OnKey(static_cast<wxKeyEvent&>(event).GetKeyCode());
        }
        if (type == wxEVT_MENU_OPEN) {
            Dismiss();
            return Event_Skip;
        }
        auto* window = dynamic_cast<wxWindow*>(event.GetEventObject());
        if (window == nullptr) {
            return Event_Skip;
        }
        if (type == wxEVT_LEFT_DOWN || type == wxEVT_RIGHT_DOWN || type == wxEVT_MIDDLE_DOWN) {
            if (IsInside(window, m_window->Window())) {
                Dismiss();
                return Event_Processed;
            }
            if (m_contents.isHelp) {
                Dismiss();
            }
        } else if (HasGoneFromUnder(event, *window) ||
                   (!m_contents.isHelp && HasBeenAnswered(event, *window))) {
            Dismiss();
        }
        return Event_Skip;
    }

    int OnKey(int key) {
        if (key == WXK_ESCAPE) {
            Dismiss();
            return Event_Processed;
        }
        const bool modifier =
            key == WXK_SHIFT || key == WXK_CONTROL || key == WXK_RAW_CONTROL || key == WXK_ALT;
        // F1 with a help balloon is for the window (WindowHelp::OnCharHook).
        if (m_contents.isHelp && key != WXK_F1 && !modifier) {
            Dismiss();
        }
        return Event_Skip;
    }

    // True if the window that the balloon points at is hidden, moved, left or destroyed.
    bool HasGoneFromUnder(const wxEvent& event, const wxWindow& window) const {
        const wxEventType type = event.GetEventType();
        const bool holds = IsInside(m_anchor, &window) || &window == m_owner;
        if (!holds) {
            return false;
        }
        if (type == wxEVT_DESTROY) {
            return true;
        }
        if (type == wxEVT_SHOW) {
            return !static_cast<const wxShowEvent&>(event).IsShown();
        }
        if (type == wxEVT_ACTIVATE) {
            return !static_cast<const wxActivateEvent&>(event).GetActive();
        }
        if (type == wxEVT_ICONIZE) {
            return true;
        }
        return (type == wxEVT_MOVE || type == wxEVT_SIZE) && m_anchor->GetScreenRect() != m_anchorPlace;
    }

    // True if the user has changed the value that the error is about, or moved the focus away.
    bool HasBeenAnswered(const wxEvent& event, const wxWindow& window) const {
        const wxEventType type = event.GetEventType();
        if (type == wxEVT_SET_FOCUS) {
            return !IsInside(&window, m_anchor) && !IsInside(&window, m_window->Window()) &&
                   &window != m_owner;
        }
        return IsInside(&window, m_anchor) &&
               (type == wxEVT_TEXT || type == EVT_IP_ADDRESS_CHANGED || type == EVT_NUMBER_CHANGED ||
                type == wxEVT_CHECKBOX || type == wxEVT_RADIOBUTTON || type == wxEVT_CHOICE);
    }

    std::unique_ptr<BalloonWindow> m_window;
    wxWindow* m_anchor = nullptr;
    wxWindow* m_owner = nullptr;
    wxRect m_anchorPlace;
    BalloonContents m_contents;
};

Balloon& TheBalloon() {
    static Balloon balloon;
    return balloon;
}

} // namespace

bool ErrorBalloon(wxWindow* control, const wxString& title, const wxString& text, BalloonIcon icon) {
    control->SetFocus();
    if (auto* entry = dynamic_cast<wxTextEntry*>(control)) {
        entry->SelectAll();
    }
    TheBalloon().Show(control, control->GetScreenRect(), {title, text, icon, false});
    wxBell();
    return false;
}

void ShowHelpBalloon(wxWindow* control, const wxString& title, const wxString& text) {
    TheBalloon().Show(control, control->GetScreenRect(), {title, text, BalloonIcon::None, true});
}

void ShowHelpBalloonAt(wxWindow* owner, const wxRect& part, const wxString& title, const wxString& text) {
    TheBalloon().Show(owner, part, {title, text, BalloonIcon::None, true});
}

void DismissBalloon() {
    TheBalloon().Dismiss();
}

ShownBalloon CurrentBalloon() {
    return TheBalloon().Now();
}

} // namespace vnxtest
