// Remembers in the profile where a window was and how large. User-interface thread.
#pragma once

#include <string_view>

#include "platform/profile.h"

class wxTopLevelWindow;

namespace vnxtest {

enum class PlacementParts { Position, PositionAndSize };

// Puts `window` where the profile says it was, if that is still on a screen; a damaged or missing value
// changes nothing. Before the window is first shown.
void RestoreWindowPlacement(wxTopLevelWindow& window, Profile& profile, std::wstring_view name,
                            PlacementParts parts);
// Stores it: "left,top,width,height,maximized". Of a minimized window nothing is stored.
void SaveWindowPlacement(const wxTopLevelWindow& window, Profile& profile, std::wstring_view name);

} // namespace vnxtest
