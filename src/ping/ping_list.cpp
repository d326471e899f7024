#include "ping/ping_list.h"

#include "packets/icmp_echo.h"

namespace vnxtest {

void CPingList::AddTail(const CPing& ping) {
    if (!m_pings.empty()) {
        const CPing& last = m_pings.back();
        const auto next = static_cast<std::uint16_t>(SwapNetwork16(last.wIcmpSeq) + 1);
        m_consecutive = m_consecutive && ping.wIcmpId == last.wIcmpId && SwapNetwork16(ping.wIcmpSeq) == next;
    }
    m_pings.push_back(ping);
}

void CPingList::RemoveAll() {
    m_pings.clear();
    m_pings.shrink_to_fit();
    m_undecidedFrom = 0;
    m_consecutive = true;
}

std::optional<CPingList::Position> CPingList::Find(std::uint16_t icmpId, std::uint16_t icmpSeq) const {
    if (m_pings.empty()) {
        return std::nullopt;
    }
    if (m_consecutive) {
        // After a wrap of the sequence numbers the oldest ping with this number is the one meant.
        const auto position = static_cast<Position>(
            static_cast<std::uint16_t>(SwapNetwork16(icmpSeq) - SwapNetwork16(m_pings.front().wIcmpSeq)));
        const bool found = m_pings.front().wIcmpId == icmpId && position < m_pings.size();
        return found ? std::optional(position) : std::nullopt;
    }
    for (Position position = 0; position < m_pings.size(); ++position) {
        if (m_pings[position].wIcmpId == icmpId && m_pings[position].wIcmpSeq == icmpSeq) {
            return position;
        }
    }
    return std::nullopt;
}

std::optional<CPingList::Position> CPingList::FirstUndecided() {
    while (m_undecidedFrom < m_pings.size() && !m_pings[m_undecidedFrom].IsUndecided()) {
        ++m_undecidedFrom;
    }
    return m_undecidedFrom < m_pings.size() ? std::optional(m_undecidedFrom) : std::nullopt;
}

} // namespace vnxtest
