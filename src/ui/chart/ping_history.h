// The running ping test as the chart and the status bar show it: a copy of its records, updated by those
// that may still have changed, and their summary. Uses no windows. User-interface thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "ping/ping_list.h"
#include "ui/chart/chart_range.h"

namespace vnxtest {

// The pings so far. One that is neither answered nor timed out counts as sent only.
struct PingSummary {
    std::uint32_t sent = 0;
    std::uint32_t received = 0; // answered, late or not
    std::uint32_t late = 0;     // answered after the time-out was declared
    // Timed out and not answered; after the test's end all that were not answered, as in its statistics.
    std::uint32_t lost = 0;
    // Rounded as in the statistics: of the pings that are decided, after the test's end of all.
    std::uint32_t lossPercent = 0;
    std::int64_t minimum = 0; // nanoseconds, as are the next three
    std::int64_t maximum = 0;
    std::int64_t average = 0;
};

enum class PingState {
    Waiting,
    Reply,
    LateReply, // after the time-out was declared
    Lost,      // as in the summary
};

// Round trips, in nanoseconds.
struct RoundTrips {
    std::uint32_t count = 0;
    std::int64_t minimum = 0;
    std::int64_t maximum = 0;

    void Add(std::int64_t roundTrip);
};

// The pings of one column of a chart.
struct PingColumn {
    std::uint32_t sent = 0;
    std::uint32_t lost = 0;
    RoundTrips inTime;
    RoundTrips late;
};

class PingHistory {
public:
    // A new test: `planned` pings to `target`.
    void Begin(std::uint32_t planned, std::wstring target);

    // The first record that may have changed since the last Update.
    std::size_t ChangedFrom() const { return m_settled; }
    // Takes over the records copied from ChangedFrom() on, as far as the test still kept them; the history
    // keeps no more than the test does, unless they are undecided. `now` in ticks.
    void Update(const PingRecords& records, std::uint32_t now);
    // Takes over the whole list at the test's end.
    void Finish(const PingRecords& records);
    void End();

    bool HasTest() const { return !m_target.empty(); }
    bool IsRunning() const { return m_running; }
    const std::wstring& Target() const { return m_target; }
    std::uint32_t Planned() const { return m_planned; }
    const PingSummary& Summary() const { return m_summary; }

    // The positions of the first ping that is kept and behind the last that was sent: 0 for the test's first.
    std::size_t First() const { return m_first; }
    std::size_t Sent() const { return m_first + m_records.size(); }
    // A ping that is kept.
    const CPing& At(std::size_t position) const { return m_records[position - m_first]; }
    PingState StateAt(std::size_t position) const;
    // What the whole width stands for: while the test runs also what is still planned.
    PingSpan Span() const;
    // The pings of `range` in `width` columns. One pass over them, whatever the width.
    std::vector<PingColumn> Columns(const ChartRange& range, std::size_t width) const;
    // From `position` on, without it, the nearest ping that is lost or was answered late: `step` is 1 or -1.
    std::optional<std::size_t> NextFault(std::size_t position, int step) const;

private:
    bool IsSettled(const CPing& ping, std::uint32_t now) const;
    void Summarize();

    std::uint32_t m_planned = 0;
    std::wstring m_target;
    bool m_running = false;
    std::size_t m_first = 0; // the position of the first record
    std::deque<CPing> m_records;
    std::size_t m_settled = 0; // records before this position change no more
    PingTotals m_settledTotals;
    PingSummary m_summary;
};

} // namespace vnxtest
