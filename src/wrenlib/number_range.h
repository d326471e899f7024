// The range and the default of a number that the user may choose.
#pragma once

#include <cstdint>

namespace vnxtest {

struct NumberRange {
    std::uint32_t lowest = 0; // both ends included
    std::uint32_t highest = 0;
    std::uint32_t standard = 0;

    constexpr bool Holds(std::uint32_t value) const { return value >= lowest && value <= highest; }
};

} // namespace vnxtest
