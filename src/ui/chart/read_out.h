// What the ping chart says in words: the figures above it, and what became of one ping. Uses no windows.
// User-interface thread.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "ui/chart/ping_history.h"

namespace vnxtest {

// "Sent 40", "Lost 3 (8%)", "Average 1.25 ms": each counted and rounded as in the report's statistics, the
// round trips in finer steps than its milliseconds.
std::vector<std::wstring> ChartFigures(const PingHistory& history);

// "#17: reply after 812 µs", "#18: lost", for a ping that is kept.
std::wstring ReadOut(const PingHistory& history, std::size_t position);

// "reply", "late reply", "lost", "no reply yet".
const wchar_t* NameOf(PingState state);

// `texts` with ", " in between.
std::wstring JoinTexts(const std::vector<std::wstring>& texts);

} // namespace vnxtest
