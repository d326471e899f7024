#include "ui/chart/ping_history.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "wrenlib/ticks.h"

namespace vnxtest {

namespace {
// How long after its deadline a ping is still copied for a late reply, in milliseconds. A later one shows
// at the end.
constexpr std::uint32_t kLateWatch = 2000;
} // namespace

void RoundTrips::Add(std::int64_t roundTrip) {
    minimum = count == 0 ? roundTrip : std::min(minimum, roundTrip);
    maximum = std::max(maximum, roundTrip);
    ++count;
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
    // A ping that is still under way is not lost.
    PingTotals decided = totals;
    if (m_running) {
        decided.sent = totals.received + totals.timeouts - totals.late;
    }
    const PingStatistics statistics = decided.Statistics();
    m_summary = {.sent = static_cast<std::uint32_t>(totals.sent),
                 .received = static_cast<std::uint32_t>(totals.received),
                 .late = static_cast<std::uint32_t>(totals.late),
                 .lost = static_cast<std::uint32_t>(statistics.lost),
                 .lossPercent = statistics.lossPercent,
                 .minimum = totals.received != 0 ? totals.minimumNs : 0,
                 .maximum = totals.maximumNs,
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
    End();
}

void PingHistory::End() {
    m_running = false;
    Summarize();
}

PingState PingHistory::StateAt(std::size_t position) const {
    const CPing& ping = At(position);
    if (ping.nReplies != 0) {
        return ping.nTimeouts != 0 ? PingState::LateReply : PingState::Reply;
    }
    return ping.nTimeouts != 0 || !m_running ? PingState::Lost : PingState::Waiting;
}

PingSpan PingHistory::Span() const {
    // A finished test fills the width, however early it was stopped; so does one without a foreseeable end.
    const std::size_t planned = m_running && m_planned <= CPingList::kCapacity ? m_planned : 0;
    return {m_first, std::max({planned, m_records.size(), std::size_t{1}})};
}

std::vector<PingColumn> PingHistory::Columns(const ChartRange& range, std::size_t width) const {
    std::vector<PingColumn> columns(width);
    if (width == 0) {
        return columns;
    }
    const auto end = std::min(static_cast<std::size_t>(std::ceil(range.End())), Sent());
    for (auto position = std::max(static_cast<std::size_t>(range.Begin()), m_first); position < end;
         ++position) {
        const double part = range.PartOf(static_cast<double>(position) + 0.5);
        if (part < 0 || part >= 1) {
            continue;
        }
        const CPing& ping = At(position);
        const PingState state = StateAt(position);
        PingColumn& column = columns[static_cast<std::size_t>(part * static_cast<double>(width))];
        ++column.sent;
        if (state == PingState::Lost) {
            ++column.lost;
        } else if (state == PingState::Reply) {
            column.inTime.Add(ping.roundTripNs);
        } else if (state == PingState::LateReply) {
            column.late.Add(ping.roundTripNs);
        }
    }
    return columns;
}

std::optional<std::size_t> PingHistory::NextFault(std::size_t position, int step) const {
    const auto next = [step](std::size_t at) { return step > 0 ? at + 1 : at - 1; }; // wraps around below 0
    for (std::size_t at = next(position); at >= m_first && at < Sent(); at = next(at)) {
        const PingState state = StateAt(at);
        if (state == PingState::Lost || state == PingState::LateReply) {
            return at;
        }
    }
    return std::nullopt;
}

} // namespace vnxtest
