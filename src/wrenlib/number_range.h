// A number that the user may choose: what may be given for it, and what holds until something is.
#pragma once

#include <cstdint>

namespace vnxtest {

struct NumberRange {
    std::uint32_t lowest = 0; // both ends count
    std::uint32_t highest = 0;
    std::uint32_t standard = 0;

    constexpr bool Holds(std::uint32_t value) const { return value >= lowest && value <= highest; }
};

} // namespace vnxtest
