// The rules: pure functions over the observations. A finding is a row of the table in advice.cpp.
#pragma once

#include <vector>

#include "advice/finding.h"
#include "advice/observations.h"

namespace vnxtest {

// What a rule has seen, once an interface at most.
struct Seen {
    int interfaceNumber = 0;
    std::wstring seen, means, action;
    Evidence evidence; // not empty
};
using SeenList = std::vector<Seen>;

// Of pings for the guest that were ignored (request_rules.cpp).
SeenList SeeDontFragmentRequests(const Observations& observations);
SeenList SeeRequestsWithoutData(const Observations& observations);

} // namespace vnxtest
