#include "ui/chart/csv_writer.h"

#include <fmt/format.h>

#include "results/date_text.h"
#include "ui/chart/read_out.h"
#include "wrenlib/text.h"

namespace vnxtest {

std::string PingsCsv(const PingHistory& history) {
    std::string csv = "number,sequence,sentAt,state,replies,timeMs\r\n";
    for (std::size_t position = history.First(); position < history.Sent(); ++position) {
        const CPing& ping = history.At(position);
        csv += fmt::format("{},{},{},{},{},", position + 1, ping.SequenceNumber(), DateText(ping.sent.unixNs),
                           ToUtf8(NameOf(history.StateAt(position))), ping.nReplies);
        if (ping.nReplies != 0) {
            csv += fmt::format("{}.{:06}", ping.roundTripNs / 1'000'000, ping.roundTripNs % 1'000'000);
        }
        csv += "\r\n";
    }
    return csv;
}

} // namespace vnxtest
