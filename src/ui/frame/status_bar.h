// The status bar: prompts of menu items and messages, the running ping test, the interface library.
// Assistive software reads the same texts. User-interface thread.
#pragma once

#include <wx/statusbr.h>
#include <wx/timer.h>

namespace vnxtest {

// The fields behind the first, which is for prompts and messages.
inline constexpr int kProgressField = 1;
inline constexpr int kLibraryField = 2;
inline constexpr int kCaptureField = 3; // while there is a capture to tell of

class CStatusBar final : public wxStatusBar {
public:
    explicit CStatusBar(wxWindow* parent);

    // Shows a message for six seconds; an empty one removes the last at once.
    void Tell(const wxString& message);
    // Removes a message that does not hold any more, if it is still shown.
    void TakeBack(const wxString& message);
    // Shows a message while there is no other, until an empty one replaces it.
    void TellStanding(const wxString& message);
    // Shows how far a capture has come, in a field of its own behind the others.
    void TellCapture(const wxString& state);

protected:
    void DoUpdateStatusText(int field) override;

private:
    void OnTimer();

    wxString m_message;
    wxString m_standing;
    wxTimer m_timer;
};

} // namespace vnxtest
