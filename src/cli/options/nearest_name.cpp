#include "cli/options/nearest_name.h"

#include <algorithm>

namespace vnxtest {

namespace {

// The steps from `from` to `to`: optimal string alignment, with the last three rows of its table.
std::size_t Distance(std::string_view from, std::string_view to) {
    std::vector<std::size_t> before(to.size() + 1);
    std::vector<std::size_t> last(to.size() + 1);
    std::vector<std::size_t> row(to.size() + 1);
    for (std::size_t j = 0; j <= to.size(); ++j) {
        row[j] = j;
    }
    for (std::size_t i = 1; i <= from.size(); ++i) {
        before.swap(last);
        last.swap(row);
        row[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t other = from[i - 1] == to[j - 1] ? 0 : 1;
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + other});
            if (i > 1 && j > 1 && from[i - 1] == to[j - 2] && from[i - 2] == to[j - 1]) {
                row[j] = std::min(row[j], before[j - 2] + 1);
            }
        }
    }
    return row[to.size()];
}

} // namespace

std::string NearestName(std::string_view typed, const std::vector<std::string>& names) {
    constexpr std::size_t kLeastBeginning = 3;
    constexpr std::size_t kLongest = 40; // of a name; the table stays small, whatever was typed
    std::string nearest;
    if (typed.size() > kLongest) {
        return nearest;
    }
    std::size_t least = std::max<std::size_t>(2, typed.size() / 3) + 1;
    for (const std::string& name : names) {
        const bool isBegun = typed.size() >= kLeastBeginning && name.starts_with(typed);
        const std::size_t distance = isBegun ? 0 : Distance(typed, name);
        if (distance < least && distance < name.size()) {
            least = distance;
            nearest = name;
        }
    }
    return nearest;
}

} // namespace vnxtest
