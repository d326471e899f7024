// The help of one window: its registrations, its caption button, "What's This?" mode, F1, the help message
// and the Help button. CHelpButtonWnd adds one to a window. User-interface thread only.
#pragma once

#include <functional>
#include <memory>

#include <wx/event.h>
#include <wx/toplevel.h>

#include "helpui/control_numbers.h"
#include "helpui/help_keys.h"
#include "helpui/whats_this_mode.h"
#include "widgets/caption/caption_button.h"

class wxMenu;

namespace vnxtest {

class WindowHelp : public wxEvtHandler {
public:
    // Registers `table` and puts the button into the caption. `fillSystemMenu`, if given, fills the window's
    // menu each time before it is shown.
    WindowHelp(wxTopLevelWindow& window, const HelpTable& table,
               const std::function<void(wxMenu&)>& fillSystemMenu);
    ~WindowHelp() override;
    WindowHelp(const WindowHelp&) = delete;
    WindowHelp& operator=(const WindowHelp&) = delete;

    // Gives `window` the control number `controlId`, whatever its window id is.
    void Assign(wxWindow& window, int controlId) { m_numbers.Assign(window, controlId); }

private:
    // The key under which help on `control` is looked up (ControlNumbers::AnsweringFor).
    HelpKey KeyOf(const wxWindow& control) const;

    void OnCharHook(wxKeyEvent& event);
    void OnHelp(wxHelpEvent& event);
    void OnHelpButton(wxCommandEvent& event);
    void HelpOnFocus();
    void EnterMode();

    // Shows the balloon for a point of the screen, for a control, for a part of the frame.
    void ShowHelpAt(const wxPoint& point);
    void ShowControlHelp(const wxWindow& control);
    void ShowControlHelp(const wxWindow& control, const wxPoint& spot);
    void ShowPartHelp(int area, const wxRect& place);
    // Opens the help book at the topic of `key`.
    void OpenTopic(HelpKey key);

    wxTopLevelWindow& m_window;
    const int m_templateId;
    const HelpMaps m_maps;
    ControlNumbers m_numbers;
    WhatsThisMode m_mode;
    std::unique_ptr<CaptionButton> m_button;
    HelpKey m_shownKey = 0;
};

} // namespace vnxtest
