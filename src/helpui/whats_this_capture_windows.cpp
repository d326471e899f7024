// Pointer and keyboard in "What's This?" mode on Windows: the window captures the mouse, which keeps the
// cursor and sends every click here, and a hook takes the keys.
#include <utility>

#include <wx/app.h>
#include <wx/eventfilter.h>
#include <wx/msw/wrapwin.h>
#include <wx/toplevel.h>

#include "helpui/whats_this_mode.h"

namespace vnxtest {

namespace {

class WindowsCapture final : public WhatsThisCapture, private wxEventFilter {
public:
    WindowsCapture(wxTopLevelWindow& window, std::function<void(std::optional<wxPoint>)> ended)
        : m_window(window), m_ended(std::move(ended)), m_alive(std::make_shared<bool>(true)) {
        wxEvtHandler::AddFilter(this);
        // The toolkit sends no key events while a window has the mouse.
        Holder() = this;
        m_keys = SetWindowsHookExW(WH_KEYBOARD, &WindowsCapture::OnKey, nullptr, GetCurrentThreadId());
        m_window.CaptureMouse();
        wxSetCursor(wxCursor(wxCURSOR_QUESTION_ARROW));
    }
    WindowsCapture(const WindowsCapture&) = delete;
    WindowsCapture& operator=(const WindowsCapture&) = delete;

    ~WindowsCapture() override {
        *m_alive = false;
        UnhookWindowsHookEx(m_keys);
        Holder() = nullptr;
        wxEvtHandler::RemoveFilter(this);
        if (m_window.HasCapture()) {
            m_window.ReleaseMouse();
        }
        wxSetCursor(wxNullCursor);
    }

private:
    // A hook procedure has no user data; there is one such mode at a time.
    static WindowsCapture*& Holder() {
        static WindowsCapture* holder = nullptr;
        return holder;
    }

    static LRESULT CALLBACK OnKey(int code, WPARAM key, LPARAM state) {
        constexpr LPARAM kReleased = LPARAM{1} << 31;
        if (code < 0 || Holder() == nullptr) {
            return CallNextHookEx(nullptr, code, key, state);
        }
        if ((state & kReleased) == 0 && (key == VK_ESCAPE || key == VK_F1)) {
            Holder()->End(std::nullopt);
        }
        // No key press reaches a control; releases are passed on for the system's key state.
        return (state & kReleased) != 0 ? CallNextHookEx(nullptr, code, key, state) : 1;
    }

    int FilterEvent(wxEvent& event) override {
        const wxEventType type = event.GetEventType();
        if (type == wxEVT_LEFT_DOWN) {
            m_pressed = true;
            return Event_Processed;
        }
        if (type == wxEVT_LEFT_UP) {
            if (m_pressed) {
                End(wxGetMousePosition());
            }
            return Event_Processed;
        }
        if (type == wxEVT_RIGHT_UP || type == wxEVT_MIDDLE_UP || type == wxEVT_MOUSE_CAPTURE_LOST) {
            End(std::nullopt);
            return Event_Processed;
        }
        if (type == wxEVT_ACTIVATE && !static_cast<wxActivateEvent&>(event).GetActive()) {
            End(std::nullopt);
        }
        return Event_Skip;
    }

    // Reports once, later, from the event loop: the report destroys this object.
    void End(std::optional<wxPoint> point) {
        if (m_reported) {
            return;
        }
        m_reported = true;
        wxTheApp->CallAfter([this, alive = m_alive, point] {
            if (*alive) {
                const auto ended = m_ended;
                ended(point);
            }
        });
    }

    wxTopLevelWindow& m_window;
    std::function<void(std::optional<wxPoint>)> m_ended;
    std::shared_ptr<bool> m_alive;
    HHOOK m_keys = nullptr;
    bool m_pressed = false;
    bool m_reported = false;
};

} // namespace

std::unique_ptr<WhatsThisCapture> HoldForWhatsThis(wxTopLevelWindow& window,
                                                   std::function<void(std::optional<wxPoint>)> ended) {
    return std::make_unique<WindowsCapture>(window, std::move(ended));
}

} // namespace vnxtest
