// The menu of a window where the system shows none of its own. User-interface thread only.
#pragma once

#include <functional>

class wxMenu;
class wxTopLevelWindow;

namespace vnxtest {

// Pops up the menu of `window` and returns when it is closed. The state items (restore, minimize, maximize)
// come first, then what `fill` adds, "Close" in the end.
void ShowSystemMenu(wxTopLevelWindow& window, const std::function<void(wxMenu&)>& fill);

} // namespace vnxtest
