// "What's This?" mode: the mouse cursor is a question arrow, and the next click asks for help on what is
// under it instead of acting on it. Escape, another mouse button, or leaving the window ends the mode.
//
// How pointer and keyboard are held is the platform's affair: one source each (whats_this_capture_gtk.cpp,
// whats_this_capture_windows.cpp). User-interface thread only.
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include <wx/gdicmn.h>

class wxTopLevelWindow;

namespace vnxtest {

// Holds pointer and keyboard of the program from construction to destruction.
class WhatsThisCapture {
public:
    virtual ~WhatsThisCapture() = default;
};

// Begins to hold them for `window`, with the question arrow. `ended` is called once, from the event loop
// and not from inside an event: with the point (screen coordinates) of a click, or with nothing when the
// user gave up. Nothing of the click reaches the control under it. Null when the system refuses.
std::unique_ptr<WhatsThisCapture> HoldForWhatsThis(wxTopLevelWindow& window,
                                                   std::function<void(std::optional<wxPoint>)> ended);

class WhatsThisMode {
public:
    // `clicked` is called after a click has ended the mode, with its point on the screen; `changed`
    // whenever the mode begins (true) or ends (false).
    WhatsThisMode(wxTopLevelWindow& window, std::function<void(wxPoint)> clicked,
                  std::function<void(bool)> changed);

    void Enter();
    void Leave();
    bool IsOn() const { return m_capture != nullptr; }

private:
    void OnEnded(std::optional<wxPoint> point);

    wxTopLevelWindow& m_window;
    std::function<void(wxPoint)> m_clicked;
    std::function<void(bool)> m_changed;
    std::unique_ptr<WhatsThisCapture> m_capture;
};

} // namespace vnxtest
