// The help button in a window's caption, hit tests of the caption's parts, and the window's menu.
// User-interface thread. One source per platform (caption_button_gtk.cpp, caption_button_windows.cpp).
#pragma once

#include <functional>
#include <memory>
#include <optional>

#include <wx/gdicmn.h>
#include <wx/string.h>

class wxMenu;
class wxTopLevelWindow;

namespace vnxtest {

// A part of a window's frame: its number in frame_area.h and its place on the screen.
struct CaptionPart {
    int area = 0;
    wxRect place;
};

class CaptionButton {
public:
    virtual ~CaptionButton() = default;

    // The part of the caption or of the window's edges at `point` (screen coordinates), or nullopt if the
    // point is elsewhere.
    virtual std::optional<CaptionPart> HitTest(const wxPoint& point) const = 0;

    // Shows the button as pressed while "What's This?" mode is on.
    virtual void SetPressed(bool pressed) = 0;
};

struct CaptionCallbacks {
    wxString name;                    // of the button, where the system shows one
    std::function<void()> help;       // the help button was pressed
    std::function<void()> systemMenu; // the window's menu was asked for; empty: it has no own menu
    // Adds the program's items to the window's menu, where the system has one.
    std::function<void(wxMenu&)> fillSystemMenu;
};

// Puts the help button into the caption of `window`. Call after the window was created and before it is
// first shown; the result must be destroyed before the window.
std::unique_ptr<CaptionButton> AddCaptionButton(wxTopLevelWindow& window, CaptionCallbacks callbacks);

// Lets `window` take input while a modal dialog is open.
void ExemptFromModality(wxTopLevelWindow& window);

} // namespace vnxtest
