// Windows and sizers are owned by the window or sizer that contains them, not by their maker. MakeChild is
// the one place with a `new`, so that no other line looks like a leak.
#pragma once

#include <memory>
#include <utility>

namespace vnxtest {

// Makes a T that its parent (among the arguments, or what it is then added to) destroys.
template <typename T, typename... Args>
T* MakeChild(Args&&... args) {
    return std::make_unique<T>(std::forward<Args>(args)...).release();
}

} // namespace vnxtest
