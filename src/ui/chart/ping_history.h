// The running ping test as the chart and the status bar show it: a copy of its records, updated by those
// that may still have changed, and their summary. Uses no windows. User-interface thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "ping/ping_list.h"

namespace vnxtest {

// The pings so far. One that is neither answered nor timed out counts as sent only.
struct PingSummary {
    std::uint32_t sent = 0;
    std::uint32_t received = 0; // answered, late or not
    std::uint32_t late = 0;     // answered after the time-out was declared
    std::uint32_t timedOut = 0; // timed out and not answered
    std::int64_t minimum = 0;   // nanoseconds, as are the next three
    std::int64_t maximum = 0;
    std::int64_t maximumInTime = 0; // of the replies that were not late
    std::int64_t average = 0;

    // Percent of the decided pings; 0 if there are none.
    double Loss() const;
};

// The pings of one column of a chart.
struct PingColumn {
    bool answered = false;
    std::int64_t minimum = 0; // round trip, nanoseconds, of the answered ones
    std::int64_t maximum = 0;
    bool late = false;
    bool timedOut = false;
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
    void End() { m_running = false; }

    bool HasTest() const { return !m_target.empty(); }
    bool IsRunning() const { return m_running; }
    const std::wstring& Target() const { return m_target; }
    std::uint32_t Planned() const { return m_planned; }
    const PingSummary& Summary() const { return m_summary; }

    // The position of the first ping that is shown.
    std::size_t First() const { return m_first; }
    // The number of pings that the width stands for.
    std::size_t Span() const;
    // The test from First() on in `width` columns. One pass over the records, whatever the width.
    std::vector<PingColumn> Columns(std::size_t width) const;
    // The column of the ping at First() + `index`.
    std::size_t ColumnOf(std::size_t index, std::size_t width) const;

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
