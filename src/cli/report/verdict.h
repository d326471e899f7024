// The one line about a run that stands on standard error at its end, and what is said when the user asks
// before that.
#pragma once

#include <string>

#include "core/interface_counts.h"
#include "ping/ping_test.h"

namespace vnxtest {

// Of a complete ping test: pings, losses, and the round trips in milliseconds with three decimals.
std::wstring DescribePingVerdict(const PingTestResult& result);

// Of a ping test that runs.
std::wstring DescribePingsSoFar(const PingFigures& figures);

// What the guest has answered and ignored so far, of both interfaces; unused ones have counted nothing.
std::wstring DescribeAnswers(const InterfaceCounts& first, const InterfaceCounts& second);

} // namespace vnxtest
