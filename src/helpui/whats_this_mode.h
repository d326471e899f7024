// "What's This?" mode: the mouse cursor is a question arrow, and the next click asks for help on what is
// under it instead of acting on it. Escape, F1, another mouse button, or another active window ends the
// mode.
//
// Each platform captures pointer and keyboard in its own source (whats_this_capture_gtk.cpp,
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

// Captures them for `window`, with the question arrow. `ended` is called once, from the event loop and not
// from inside an event: with the point (screen coordinates) of a click, or nullopt if the user gave up. The
// control under the click sees no event. Null if the system refuses.
std::unique_ptr<WhatsThisCapture> HoldForWhatsThis(wxTopLevelWindow& window,
                                                   std::function<void(std::optional<wxPoint>)> ended);

class WhatsThisMode {
public:
    // `clicked` is called after a click has ended the mode, with its point on the screen; `changed`
    // whenever the mode begins (true) or ends or is refused (false).
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
