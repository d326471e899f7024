// Keeps a window's place and size in the profile. User-interface thread.
#pragma once

#include <string>

#include <wx/gdicmn.h>
#include <wx/timer.h>

#include "platform/files/profile.h"

class wxTopLevelWindow;
class wxIdleEvent;
class wxMoveEvent;

namespace vnxtest {

enum class PlacementParts { Position, PositionAndSize };

// A member of its window.
class WindowPlacement {
public:
    // `name` is the value's name in the profile.
    WindowPlacement(wxTopLevelWindow& window, Profile& profile, std::wstring name);

    // Puts the window where the profile says it was, if that is still on a screen; a damaged or missing
    // value changes nothing. Before the window is first shown.
    void Restore(PlacementParts parts);
    // Stores it: "left,top,width,height,maximized". Of a minimized window nothing is stored.
    void Save();

private:
    void OnIdle(wxIdleEvent& event);
    void OnMove(wxMoveEvent& event);
    void OnSettled();

    wxTopLevelWindow& m_window;
    Profile& m_profile;
    std::wstring m_name;
    wxPoint m_wanted;     // the place set by Restore()
    wxTimer m_settlement; // runs from when the window is shown until it has stood still
};

} // namespace vnxtest
