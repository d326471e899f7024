#include "ping/ping_list.h"

#include <algorithm>

#include "packets/icmp_echo.h"

namespace vnxtest {

void CPingList::AddTail(const CPing& ping) {
    if (!m_pings.empty()) {
        const CPing& last = m_pings.back();
        const auto next = static_cast<std::uint16_t>(last.SequenceNumber() + 1);
        m_consecutive = m_consecutive && ping.wIcmpId == last.wIcmpId && ping.SequenceNumber() == next;
    }
    if (m_pings.size() == kCapacity) {
        m_letGo.Add(m_pings.front());
        m_pings.pop_front();
        ++m_first;
        m_undecidedFrom = std::max(m_undecidedFrom, m_first);
    }
    m_pings.push_back(ping);
}

void CPingList::RemoveAll() {
    m_pings.clear();
    m_pings.shrink_to_fit();
    m_first = 0;
    m_letGo = {};
    m_undecidedFrom = 0;
    m_consecutive = true;
}

std::optional<CPingList::Position> CPingList::Find(std::uint16_t icmpId, std::uint16_t icmpSeq) const {
    if (m_pings.empty()) {
        return std::nullopt;
    }
    if (m_consecutive) {
        const auto index = static_cast<Position>(
            static_cast<std::uint16_t>(SwapNetwork16(icmpSeq) - m_pings.front().SequenceNumber()));
        const bool found = m_pings.front().wIcmpId == icmpId && index < m_pings.size();
        return found ? std::optional(m_first + index) : std::nullopt;
    }
    const auto found = std::find_if(m_pings.begin(), m_pings.end(), [=](const CPing& ping) {
        return ping.wIcmpId == icmpId && ping.wIcmpSeq == icmpSeq;
    });
    return found != m_pings.end() ? std::optional(m_first + static_cast<Position>(found - m_pings.begin()))
                                  : std::nullopt;
}

std::optional<CPingList::Position> CPingList::FirstUndecided() {
    while (m_undecidedFrom < GetCount() && !m_pings[m_undecidedFrom - m_first].IsUndecided()) {
        ++m_undecidedFrom;
    }
    return m_undecidedFrom < GetCount() ? std::optional(m_undecidedFrom) : std::nullopt;
}

PingStatistics CPingList::Statistics() const {
    PingTotals totals = m_letGo;
    for (const CPing& ping : m_pings) {
        totals.Add(ping);
    }
    return totals.Statistics();
}

PingRecords CPingList::CopyFrom(Position from) const {
    PingRecords records{std::max(from, m_first), {}, m_letGo};
    if (records.first < GetCount()) {
        records.pings.assign(m_pings.begin() + static_cast<std::ptrdiff_t>(records.first - m_first),
                             m_pings.end());
    }
    return records;
}

} // namespace vnxtest
