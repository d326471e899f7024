#include "ui/ping_history.h"

#include <algorithm>
#include <utility>

#include "wrenlib/ticks.h"

namespace vnxtest {

namespace {
// How long after its time-out a ping is looked at again for a late reply. A later one shows at the end.
constexpr std::uint32_t kLateWatch = 2000;
} // namespace

double PingSummary::Loss() const {
    const std::uint32_t decided = received + timedOut;
    return decided == 0 ? 0.0 : 100.0 * timedOut / decided;
}

void PingHistory::Totals::Add(const CPing& ping) {
    ++summary.sent;
    if (ping.nReplies == 0) {
        summary.timedOut += ping.nTimeouts != 0 ? 1 : 0;
        return;
    }
    const std::uint32_t roundTrip = RoundTrip(ping);
    summary.minimum = summary.received == 0 ? roundTrip : std::min(summary.minimum, roundTrip);
    summary.maximum = std::max(summary.maximum, roundTrip);
    ++summary.received;
    if (ping.nTimeouts != 0) {
        ++summary.late;
    } else {
        summary.maximumInTime = std::max(summary.maximumInTime, roundTrip);
    }
    sum += roundTrip;
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

void PingHistory::Summarize(const Totals& totals) {
    m_summary = totals.summary;
    if (m_summary.received != 0) {
        m_summary.average = static_cast<std::uint32_t>(totals.sum / m_summary.received);
    }
}

void PingHistory::Update(std::size_t from, const std::vector<CPing>& records, std::uint32_t now) {
    if (from > m_records.size()) {
        return;
    }
    m_records.resize(from);
    m_records.insert(m_records.end(), records.begin(), records.end());
    while (m_settled < m_records.size() && IsSettled(m_records[m_settled], now)) {
        m_settledTotals.Add(m_records[m_settled]);
        ++m_settled;
    }
    Totals totals = m_settledTotals;
    for (std::size_t index = m_settled; index < m_records.size(); ++index) {
        totals.Add(m_records[index]);
    }
    Summarize(totals);
}

void PingHistory::Finish(const std::vector<CPing>& records) {
    m_records = records;
    m_settled = m_records.size();
    Totals totals;
    for (const CPing& ping : m_records) {
        totals.Add(ping);
    }
    Summarize(totals);
    End();
}

std::size_t PingHistory::Span() const {
    // A finished test fills the width, however early it was stopped.
    const std::size_t planned = m_running ? m_planned : 0;
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
        const std::uint32_t roundTrip = RoundTrip(ping);
        column.minimum = column.answered ? std::min(column.minimum, roundTrip) : roundTrip;
        column.maximum = std::max(column.maximum, roundTrip);
        column.answered = true;
        column.late = column.late || ping.nTimeouts != 0;
    }
    return columns;
}

} // namespace vnxtest
