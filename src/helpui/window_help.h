// The help of one window: its registrations, its caption button, "What's This?" mode, F1, the help
// message and the Help button. What CHelpButtonWnd adds to a window, without the template.
#pragma once

#include <functional>
#include <map>
#include <memory>

#include <wx/event.h>
#include <wx/toplevel.h>

#include "helpui/help_keys.h"
#include "helpui/whats_this_mode.h"
#include "widgets/caption_button.h"

class wxMenu;
class wxStatusBar;

namespace vnxtest {

class WindowHelp : public wxEvtHandler {
public:
    // Registers `table` and puts the button into the caption. `fillSystemMenu`, if given, fills the window's
    // menu each time before it is shown.
    WindowHelp(wxTopLevelWindow& window, const HelpTable& table, std::function<void(wxMenu&)> fillSystemMenu);
    ~WindowHelp() override;
    WindowHelp(const WindowHelp&) = delete;
    WindowHelp& operator=(const WindowHelp&) = delete;

    // Makes `window` answer for the control number `controlId`, whatever its window id is: a label for
    // the control it names, a pane for the window's standard number.
    void Assign(wxWindow& window, int controlId);

    // The key under which help on `window` is looked up: its own number's, or that of its nearest parent
    // that has one; a label (a static text that ends with ":") answers for the control behind it; in the
    // end that of the window itself.
    HelpKey KeyOf(const wxWindow& window) const;

    // Shows the balloon for a control, or for what is at a point of the screen.
    void ShowHelp(wxWindow& control);
    void ShowHelpAt(const wxPoint& point);

    // Opens the help book at the topic of `key`.
    void OpenTopic(HelpKey key);

    WhatsThisMode& Mode() { return m_mode; }
    const CaptionButton& Caption() const { return *m_button; }

private:
    void OnAssignedGone(wxWindowDestroyEvent& event);
    // The number of a window: assigned, or its window id; 0 when it has none.
    int NumberOf(const wxWindow& window) const;
    // The window that answers for `window`, as KeyOf says.
    const wxWindow& AnsweringWindow(const wxWindow& window) const;

    void OnCharHook(wxKeyEvent& event);
    void OnHelp(wxHelpEvent& event);
    void OnHelpButton(wxCommandEvent& event);
    void HelpOnFocus();
    void ShowSystemMenu();
    void ShowStatusBarHelp(const wxStatusBar& statusBar, const wxPoint& point);
    void ShowControlHelp(wxWindow& control, const wxPoint& spot);
    void ShowPartHelp(int area, const wxRect& place);

    wxTopLevelWindow& m_window;
    const int m_templateId;
    const HelpMaps m_maps;
    std::map<const wxWindow*, int> m_assigned;
    std::function<void(wxMenu&)> m_fillSystemMenu;
    WhatsThisMode m_mode;
    std::unique_ptr<CaptionButton> m_button;
    HelpKey m_shownKey = 0;
};

} // namespace vnxtest
