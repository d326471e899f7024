// What somebody may have meant who mistyped a name.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vnxtest {

// The one of `names` that `typed` is nearest to: begun by it, or at most a third of its letters (two at
// least) away, where a letter more, less or other and two in each other's place are one step. Empty if there
// is none. Any thread.
std::string NearestName(std::string_view typed, const std::vector<std::string>& names);

} // namespace vnxtest
