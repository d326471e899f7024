// The pings of the current test, in sending order: the last 65,536 of them.
//
// ICMP has 65,536 sequence numbers, so no more pings can be told apart by their replies: an older one is
// decided, is added to the totals and removed, and a test of any length takes the same memory. The list has
// no lock; its owner guards it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "ping/ping_record.h"
#include "ping/ping_statistics.h"

namespace vnxtest {

// A copy of the end of a list.
struct PingRecords {
    std::size_t first = 0;    // the position of the first record here
    std::vector<CPing> pings; // from there on
    PingTotals letGo{};       // of the pings that the list has removed
};

class CPingList {
public:
    // Counts from the test's first ping, whether it is still kept or not.
    using Position = std::size_t;
    static constexpr Position kCapacity = 65536;

    // Appends; a full list removes its oldest record. Only while HasRoom().
    void AddTail(const CPing& ping);
    // False while the list is full and its oldest ping is undecided.
    bool HasRoom() const { return m_pings.size() < kCapacity || !m_pings.front().IsUndecided(); }
    // How many were added, removed ones included.
    Position GetCount() const { return m_first + m_pings.size(); }
    // A copy of the record at `position`, one of the last kCapacity.
    CPing GetAt(Position position) const { return m_pings[position - m_first]; }
    // Writes a changed copy back. The identifier, the sequence number and the deadline of a record
    // never change.
    void SetAt(Position position, const CPing& ping) { m_pings[position - m_first] = ping; }
    void RemoveAll();

    // The first kept record in list order with this identifier and sequence number (network order).
    // Constant time while the list is what a test makes: one identifier, consecutive sequence
    // numbers; a walk otherwise.
    std::optional<Position> Find(std::uint16_t icmpId, std::uint16_t icmpSeq) const;

    // The first record in list order that is neither answered nor timed out. Amortised constant time:
    // records are only appended, and decided once.
    std::optional<Position> FirstUndecided();

    // The figures of all pings, kept or removed.
    PingStatistics Statistics() const;
    // The kept records from `from` on, or from the oldest if that is removed.
    PingRecords CopyFrom(Position from) const;

private:
    // A deque grows in blocks and never moves a record, so that each append costs the same.
    std::deque<CPing> m_pings;
    Position m_first = 0;
    PingTotals m_letGo;
    Position m_undecidedFrom = 0;
    bool m_consecutive = true;
};

} // namespace vnxtest
