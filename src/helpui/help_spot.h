// Hit tests for help: the control or the part of the frame at a point of a window. User-interface thread
// only.
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

// From this height on (device-independent pixels) a balloon points into its control, not at its edge.
inline constexpr int kLargeForHelp = 80;

// The innermost control or part at `point` (screen coordinates), disabled or not; nullopt outside the
// window. A field of the status bar is a part of its own if `hasHelp` returns true for its number.
std::optional<HelpSpot> FindHelpSpot(wxTopLevelWindow& window, const CaptionButton& caption,
                                     const std::function<bool(int part)>& hasHelp, const wxPoint& point);

} // namespace vnxtest
