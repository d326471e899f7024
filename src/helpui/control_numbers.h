// The help numbers of one window's controls. User-interface thread only.
#pragma once

#include <map>

#include <wx/event.h>

class wxTopLevelWindow;
class wxWindow;

namespace vnxtest {

class ControlNumbers : public wxEvtHandler {
public:
    explicit ControlNumbers(const wxTopLevelWindow& window) : m_window(window) {}
    ControlNumbers(const ControlNumbers&) = delete;
    ControlNumbers& operator=(const ControlNumbers&) = delete;

    // Gives `control` the help number `number`, whatever its window id is.
    void Assign(wxWindow& control, int number);

    // The assigned number, else the window id if it is a control's number, else 0.
    int NumberOf(const wxWindow& control) const;

    // The window that answers for `control`: itself if it has a number, or its nearest parent that has one;
    // for a label (a static text that ends with ":") the control behind it; in the end the window itself.
    const wxWindow& AnsweringFor(const wxWindow& control) const;

private:
    void OnAssignedGone(wxWindowDestroyEvent& event);

    const wxTopLevelWindow& m_window;
    std::map<const wxWindow*, int> m_assigned;
};

} // namespace vnxtest
