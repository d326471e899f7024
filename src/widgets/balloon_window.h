// The window of a balloon; balloon.cpp decides when it is shown and closed. One source per platform: the
// system's balloon on Windows, a popup window elsewhere.
#pragma once

#include <memory>

#include <wx/gdicmn.h>
#include <wx/string.h>

#include "widgets/balloon.h"

namespace vnxtest {

struct BalloonContents {
    wxString title;
    wxString text;
    BalloonIcon icon = BalloonIcon::None;
    bool isHelp = false;
};

// Its destructor hides and removes the window. User-interface thread only.
class BalloonWindow {
public:
    virtual ~BalloonWindow() = default;

    // The window, if it is one of the toolkit's and still exists; else null.
    virtual wxWindow* Window() const = 0;
    // Where it is, in screen coordinates.
    virtual wxRect Place() const = 0;
};

// Shows a balloon over `owner`, a top-level window, that points at `part` (screen coordinates) from below,
// or from above without room, and covers no more of it than its edge. It takes no focus. A click on it goes
// to the caller's event filter if it has a Window(); else it calls DismissBalloon itself.
std::unique_ptr<BalloonWindow> MakeBalloonWindow(wxWindow* owner, const wxRect& part,
                                                 const BalloonContents& contents);

} // namespace vnxtest
