// The result of a ping test as text, for people; the same for programs: json_report.h.
#pragma once

#include <string>

#include "ping/ping_test.h"

namespace vnxtest {

// Program, dates, a line for each ping that is kept, and the statistics as in the document. UTF-8; lines end
// in
// "\n".
std::string PingTestText(const PingTestResult& result);

// " Round trips: min 0.100, mean 0.200, ... ms.", beginning with a blank; empty if none was answered.
std::wstring DescribeRoundTrips(const PingRecords& records);

} // namespace vnxtest
