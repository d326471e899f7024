// What lies at a point of a window, as the help tells things apart: controls, and the parts of the frame that
// are none. User-interface thread only.
#pragma once

#include <functional>
#include <optional>

#include <wx/gdicmn.h>

class wxTopLevelWindow;
class wxWindow;

namespace vnxtest {

class CaptionButton;

struct HelpSpot {
    wxWindow* control = nullptr; // null: a part
    int part = 0;                // a number of widgets/caption/frame_area.h
    wxRect place;                // what a balloon about the part points at, in screen coordinates
};

// From this size on (device-independent pixels) a balloon points into what it is about.
inline constexpr int kLargeForHelp = 80;

// The innermost at `point` (screen coordinates), disabled or not; nullopt outside the window. A field of the
// status bar is a part of its own if `hasHelp` says so of its number.
std::optional<HelpSpot> FindHelpSpot(wxTopLevelWindow& window, const CaptionButton& caption,
                                     const std::function<bool(int part)>& hasHelp, const wxPoint& point);

} // namespace vnxtest
