// The pings of a test as a table for spreadsheets and scripts (RFC 4180). User-interface thread.
#pragma once

#include <string>

#include "ui/chart/ping_history.h"

namespace vnxtest {

// All pings that are kept, a line each, below a line with the columns' names: number, sequence, sentAt,
// state, replies, timeMs. UTF-8, lines end in CR and LF; what there is not is empty. Times have a decimal
// point.
std::string PingsCsv(const PingHistory& history);

} // namespace vnxtest
