// The advice: what the rules find in what was observed.
#pragma once

#include "advice/finding.h"
#include "advice/observations.h"

namespace vnxtest {

// The findings, the gravest first, each at most once an interface; none without evidence. In a run without
// anything to find: none. Any thread.
Findings Advise(const Observations& observations);

} // namespace vnxtest
