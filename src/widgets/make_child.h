// Windows and sizers are owned by the window or the sizer they are put into, not by who makes them. This
// is the one way to make one, so that no other line looks as if it forgot to delete what it made.
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
