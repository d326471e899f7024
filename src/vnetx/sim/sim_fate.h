// What happens to the reply to one ping on the simulated LAN.
//
// The fate is a pure function of the options (the seed among them), the interface's number and the
// number of the request, so that a run can be repeated and a test can work out what must come.
#pragma once

#include <chrono>
#include <cstdint>

#include "vnetx/sim/sim_options.h"

namespace vnxtest {

struct SimFate {
    bool lost = false; // nothing is sent; the rest is then false
    bool duplicated = false;
    bool late = false;
    bool dontFragment = false;
    bool reordered = false;
    bool corrupted = false;
    bool truncated = false;
    bool foreign = false;
    std::chrono::microseconds delay{0};          // of the reply, lateness included
    std::chrono::microseconds duplicateDelay{0}; // of its duplicate
    std::uint64_t random = 0;                    // which bit, where cut, which identifier

    // True if the reply, and its duplicate if there is one, can be matched with the request:
    // it arrives whole, with the request's identifier and without the Don't-Fragment bit.
    bool IsGood() const { return !lost && !dontFragment && !corrupted && !truncated && !foreign; }
};

// The fate of the reply to request `number` (the first is 1) of the interface that was the
// `interfaceOrder`-th to be opened (the first is 0).
SimFate DecideSimFate(const SimOptions& options, std::uint32_t interfaceOrder, std::uint64_t number);

} // namespace vnxtest
