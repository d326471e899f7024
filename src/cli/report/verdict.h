// The one line about a run that stands on standard error at its end.
#pragma once

#include <string>

#include "ping/ping_test.h"

namespace vnxtest {

// Of a complete ping test: pings, losses, and the round trips in milliseconds with three decimals.
std::wstring DescribePingVerdict(const PingTestResult& result);

// The round trips of these pings, a sentence after a blank; empty if none was answered.
std::wstring DescribeRoundTrips(const PingRecords& records);

} // namespace vnxtest
