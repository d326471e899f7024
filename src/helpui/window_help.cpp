#include "helpui/window_help.h"

#include <utility>

#include "helpui/help_book.h"
#include "helpui/help_spot.h"
#include "helpui/standard_help.h"
#include "widgets/balloon.h"
#include "widgets/caption/system_menu.h"

namespace vnxtest {

WindowHelp::WindowHelp(wxTopLevelWindow& window, const HelpTable& table,
                       const std::function<void(wxMenu&)>& fillSystemMenu)
    : m_window(window), m_templateId(table.window), m_maps(RegisterHelp(table)), m_numbers(window),
      m_mode(
          window, [this](wxPoint point) { ShowHelpAt(point); },
          [this](bool on) { m_button->SetPressed(on); }) {
    CaptionCallbacks callbacks;
    callbacks.name = wxString(std::wstring(kWhatsThisHelp));
    callbacks.help = [this] { EnterMode(); };
    if (fillSystemMenu) {
        callbacks.systemMenu = [this, fillSystemMenu] {
            DismissBalloon();
            ShowSystemMenu(m_window, fillSystemMenu);
        };
        callbacks.fillSystemMenu = fillSystemMenu;
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

HelpKey WindowHelp::KeyOf(const wxWindow& control) const {
    const wxWindow& answering = m_numbers.AnsweringFor(control);
    return MakeHelpKey(m_templateId, &answering == &m_window ? kWindowItself : m_numbers.NumberOf(answering));
}

void WindowHelp::ShowHelpAt(const wxPoint& point) {
    const auto hasHelp = [this](int part) {
        return FindHelp(m_maps, MakeHelpKey(m_templateId, part)).has_value();
    };
    const std::optional<HelpSpot> spot = FindHelpSpot(m_window, *m_button, hasHelp, point);
    if (!spot) {
        return;
    }
    if (spot->control == nullptr) {
        ShowPartHelp(spot->part, spot->place);
    } else if (&m_numbers.AnsweringFor(*spot->control) == &m_window) {
        ShowPartHelp(kWindowItself, spot->place);
    } else {
        ShowControlHelp(*spot->control, point);
    }
}

void WindowHelp::ShowControlHelp(const wxWindow& control) {
    const wxWindow& answering = m_numbers.AnsweringFor(control);
    ShowControlHelp(control, answering.GetScreenRect().GetPosition() + answering.GetSize() / 3);
}

void WindowHelp::ShowControlHelp(const wxWindow& control, const wxPoint& spot) {
    m_shownKey = KeyOf(control);
    const HelpText text = LookUpHelp(m_maps, m_shownKey);
    auto* answering = const_cast<wxWindow*>(&m_numbers.AnsweringFor(control));
    // The balloon points into a large control, not at its edge.
    if (answering->GetSize().y > m_window.FromDIP(kLargeForHelp)) {
        ShowHelpBalloonAt(answering, wxRect(spot, wxSize(1, 1)), text.title, text.body);
    } else {
        ShowHelpBalloon(answering, text.title, text.body);
    }
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

void WindowHelp::EnterMode() {
    DismissBalloon();
    m_mode.Enter();
}

void WindowHelp::OnCharHook(wxKeyEvent& event) {
    if (event.GetKeyCode() != WXK_F1 || event.HasAnyModifiers()) {
        if (event.GetKeyCode() == WXK_F1 && event.GetModifiers() == wxMOD_SHIFT) {
            EnterMode();
            return;
        }
        event.Skip();
        return;
    }
    // A second F1 while the balloon of the first is shown opens the help book.
    if (CurrentBalloon().isHelp) {
        DismissBalloon();
        OpenTopic(m_shownKey);
        return;
    }
    HelpOnFocus();
}

void WindowHelp::OnHelp(wxHelpEvent& event) {
    const auto* control = dynamic_cast<const wxWindow*>(event.GetEventObject());
    // Some systems send this message for every F1, too, which OnCharHook has handled.
    if (m_mode.IsOn() || (control != nullptr && CurrentBalloon().isHelp && KeyOf(*control) == m_shownKey)) {
        return;
    }
    if (control != nullptr && control != &m_window) {
        ShowControlHelp(*control);
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
        &m_numbers.AnsweringFor(*focus) == &m_window) {
        ShowPartHelp(kWindowItself, wxRect(m_window.ClientToScreen(wxPoint()), m_window.GetClientSize() / 3));
        return;
    }
    ShowControlHelp(*focus);
}

} // namespace vnxtest
