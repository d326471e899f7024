#include "ui/chart/ping_history.h"

#include <algorithm>
#include <utility>

#include "wrenlib/ticks.h"

namespace vnxtest {

namespace {
// How long after its deadline a ping is still copied for a late reply, in milliseconds. A later one shows
// at the end.
constexpr std::uint32_t kLateWatch = 2000;
} // namespace

double PingSummary::Loss() const {
    const std::uint32_t decided = received + timedOut;
    return decided == 0 ? 0.0 : 100.0 * timedOut / decided;
}

void PingHistory::Begin(std::uint32_t planned, std::wstring target) {
    *this = PingHistory();
    m_planned = planned;
    m_target = std::move(target);
    m_running = true;
}

bool PingHistory::IsSettled(const CPing& ping, std::uint32_t now) const {
    if (ping.nReplies != 0) {
        return true;
    }
    return ping.nTimeouts != 0 && TickReached(now, ping.dwDeadlineTick + kLateWatch);
}

void PingHistory::Summarize() {
    PingTotals totals = m_settledTotals;
    for (std::size_t position = m_settled; position < m_first + m_records.size(); ++position) {
        totals.Add(m_records[position - m_first]);
    }
    m_summary = {.sent = static_cast<std::uint32_t>(totals.sent),
                 .received = static_cast<std::uint32_t>(totals.received),
                 .late = static_cast<std::uint32_t>(totals.late),
                 .timedOut = static_cast<std::uint32_t>(totals.timeouts - totals.late),
                 .minimum = totals.received != 0 ? totals.minimumNs : 0,
                 .maximum = totals.maximumNs,
                 .maximumInTime = totals.maximumInTimeNs,
                 .average =
                     totals.received != 0 ? totals.sumNs / static_cast<std::int64_t>(totals.received) : 0};
}

void PingHistory::Update(const PingRecords& records, std::uint32_t now) {
    if (records.first > m_settled) {
        // Since the last Update() more were sent than the test keeps. Those let go are in its totals.
        m_records.clear();
        m_first = m_settled = records.first;
        m_settledTotals = records.letGo;
    }
    if (records.first < m_first) {
        return;
    }
    m_records.resize(std::min(m_records.size(), records.first - m_first));
    m_records.insert(m_records.end(), records.pings.begin(), records.pings.end());
    while (m_settled < m_first + m_records.size() && IsSettled(m_records[m_settled - m_first], now)) {
        m_settledTotals.Add(m_records[m_settled - m_first]);
        ++m_settled;
    }
    while (m_records.size() > CPingList::kCapacity && m_first < m_settled) {
        m_records.pop_front();
        ++m_first;
    }
    Summarize();
}

void PingHistory::Finish(const PingRecords& records) {
    m_records.assign(records.pings.begin(), records.pings.end());
    m_first = records.first;
    m_settled = m_first + m_records.size();
    m_settledTotals = records.letGo;
    for (const CPing& ping : m_records) {
        m_settledTotals.Add(ping);
    }
    Summarize();
    End();
}

std::size_t PingHistory::Span() const {
    // A finished test fills the width, however early it was stopped; so does one without a foreseeable end.
    const std::size_t planned = m_running && m_planned <= CPingList::kCapacity ? m_planned : 0;
    return std::max({planned, m_records.size(), std::size_t{1}});
}

std::size_t PingHistory::ColumnOf(std::size_t index, std::size_t width) const {
    const std::size_t span = Span();
    if (span == 1) {
        return width / 2;
    }
    if (span <= width) {
        return index * (width - 1) / (span - 1);
    }
    return index * width / span;
}

std::vector<PingColumn> PingHistory::Columns(std::size_t width) const {
    std::vector<PingColumn> columns(width);
    if (width == 0) {
        return columns;
    }
    for (std::size_t index = 0; index < m_records.size(); ++index) {
        const CPing& ping = m_records[index];
        PingColumn& column = columns[ColumnOf(index, width)];
        if (ping.nReplies == 0) {
            column.timedOut = column.timedOut || ping.nTimeouts != 0;
            continue;
        }
        column.minimum = column.answered ? std::min(column.minimum, ping.roundTripNs) : ping.roundTripNs;
        column.maximum = std::max(column.maximum, ping.roundTripNs);
        column.answered = true;
        column.late = column.late || ping.nTimeouts != 0;
    }
    return columns;
}

} // namespace vnxtest
