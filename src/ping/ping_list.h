// The pings of the current test, in sending order.
//
// A record is a plain value of 28 bytes, copied whole in and out. ICMP fields are kept as they stand
// in the packet (network order); ticks are wrenlib/ticks.h milliseconds. The list has no lock of its
// own: whoever owns it guards it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

namespace vnxtest {

struct CPing {
    std::uint16_t wIcmpId = 0;
    std::uint16_t wIcmpSeq = 0;
    std::uint16_t wIcmpChecksum = 0;
    std::uint16_t wDataSize = 0;
    std::uint32_t dwSentTick = 0;
    std::uint32_t dwDeadlineTick = 0;
    std::uint32_t dwReplyTick = 0; // of the latest reply
    std::uint32_t nReplies = 0;
    std::uint32_t nTimeouts = 0;

    // Neither answered nor timed out.
    bool IsUndecided() const { return nReplies == 0 && nTimeouts == 0; }
};

class CPingList {
public:
    using Position = std::size_t;

    void AddTail(const CPing& ping);
    Position GetCount() const { return m_pings.size(); }
    // A copy of the record at `position` (0 is the oldest).
    CPing GetAt(Position position) const { return m_pings[position]; }
    // Writes a changed copy back. The identifier, the sequence number and the deadline of a record
    // never change.
    void SetAt(Position position, const CPing& ping) { m_pings[position] = ping; }
    void RemoveAll();

    // The first record in list order with this identifier and sequence number (network order).
    // Constant time while the list is what a test makes: one identifier, consecutive sequence
    // numbers; a walk otherwise.
    std::optional<Position> Find(std::uint16_t icmpId, std::uint16_t icmpSeq) const;

    // The first record in list order that is neither answered nor timed out. Constant time, taken
    // over the life of the list: records are only ever added behind and decided once.
    std::optional<Position> FirstUndecided();

private:
    // A deque grows in blocks and never moves a record, so that adding the millionth ping costs what
    // adding the first did.
    std::deque<CPing> m_pings;
    Position m_undecidedFrom = 0;
    bool m_consecutive = true;
};

} // namespace vnxtest
