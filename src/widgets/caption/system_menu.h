// The menu of a window on systems that show none. User-interface thread only.
#pragma once

#include <functional>

class wxMenu;
class wxTopLevelWindow;

namespace vnxtest {

// Pops up the menu of `window` and returns when it is closed. The state items (restore, minimize, maximize)
// come first, then the items that `fill` adds, then "Close".
void ShowSystemMenu(wxTopLevelWindow& window, const std::function<void(wxMenu&)>& fill);

} // namespace vnxtest
