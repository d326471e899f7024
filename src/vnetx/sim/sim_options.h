// The options of the simulated LAN: "loss=5,delay=20,seed=7".
//
// Percentages are of the replies to the guest's pings; times are milliseconds and may have a
// fraction, as may percentages.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "vnetx/sim/sim_lan.h"
#include "wrenlib/failure.h"

namespace vnxtest {

struct SimOptions {
    // Percent of the replies, 0 to 100.
    double loss = 0;     // never sent
    double dup = 0;      // sent twice
    double late = 0;     // sent `lateBy` later than the others
    double df = 0;       // sent with the Don't-Fragment bit
    double reorder = 0;  // held back until the next one has passed
    double corrupt = 0;  // one bit of the IP packet turned over on the way
    double truncate = 0; // cut short on the way
    double foreign = 0;  // with another identifier than the request's

    // Milliseconds.
    double delay = 0;    // from request to reply
    double jitter = 0;   // up to this much more
    double lateBy = 800; // how late a late reply is
    double pinger = 0;   // the first echo host pings every guest at this interval; 0 = not at all

    std::uint32_t mtu = kSimDefaultMtu; // bytes of the IP packet
    std::uint64_t seed = 1;
};

// The options in `text` (may be empty). A failure's text is a sentence that names the option, says what is
// wrong with it and what is allowed.
Result<SimOptions> ParseSimOptions(std::wstring_view text);

} // namespace vnxtest
