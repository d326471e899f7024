// A ping test in words, as the document has it: its numbers and its statistics. Any thread.
#pragma once

#include <string>
#include <string_view>

#include "core/ping_plan.h"
#include "ping/ping_statistics.h"

namespace vnxtest {

// " ping  -c 3  -i 1000  -s 32  -w 500  10.0.0.1", without a line end.
std::wstring PingPlanText(const PingPlan& plan, std::wstring_view target);
// The figures and the verdict: whole lines, the first one empty.
std::wstring StatisticsText(const PingStatistics& statistics, std::wstring_view target);

} // namespace vnxtest
