// The pings of the current test and the outcome of each, under the ping list lock.
//
// The send thread records pings, monitor threads replies, the wait thread time-outs. The lines of a ping
// are written under the lock, so that they never change places.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "core/frame_verdict.h"
#include "core/ping_plan.h"
#include "ping/pace.h"
#include "ping/ping_list.h"
#include "ping/ping_signals.h"
#include "ping/ping_texts.h"
#include "wrenlib/fair_lock.h"

namespace vnxtest {

enum class SendOutcome {
    Written,
    Failed,   // the packet could not be written
    TestEnded // the test was stopped meanwhile: the ping is not announced
};

struct PingFigures {
    PingStatistics statistics;
    std::uint32_t firstTick = 0; // when the first ping was sent
    PingRecords records;
};

class PingBook {
public:
    explicit PingBook(PingSignals& signals) : m_signals(signals) {}

    // Empties the list. Any thread.
    void Clear();
    // Begins a test; `target` is the target's name in its lines, `ringSlots` as in Pace::Begin. Returns the
    // ICMP identifier (host order) of its pings. Send thread.
    std::uint16_t Begin(const PingPlan& plan, const std::wstring& target, std::size_t ringSlots);

    // The last used sequence number (host order), and storing it at the test's end. Send thread.
    std::uint16_t LastSequence() const { return m_wPingNextSeq; }
    void KeepLastSequence(std::uint16_t sequence);

    // Announces the ping of this sequence number (network order), calls `write` and records it as sent: one
    // step under the lock, so that its reply finds it in the list. `checksum` is the request's as it stands
    // in the packet. Send thread.
    SendOutcome Send(std::uint16_t sequence, std::uint16_t checksum, const std::function<bool()>& write);
    // True if the list takes another ping. Send thread.
    bool HasRoom();

    // Records a reply, writes its line and returns what became of it. A reply to no ping of this test is
    // dropped silently. Any thread.
    FrameVerdict RecordReply(const ReceivedReply& reply);
    // True if pings were sent with this identifier (network order). Any thread.
    bool IsOwnIdentifier(std::uint16_t icmpId) const;

    // One pass of the wait thread over the list: the milliseconds to wait (0: until `changed` is set);
    // nullopt if the test is over. Wait thread.
    std::optional<std::uint32_t> CheckDeadlines();

    // The number of a ping in the lines, from its sequence number (network order). Send thread, or under
    // the lock.
    std::uint16_t PingNumber(std::uint16_t sequence) const;

    // The figures of the test so far, all of one moment; the records only if `withRecords`. Any thread.
    PingFigures Figures(bool withRecords) const;
    // The records from index `from` on, as far as they are still kept. Any thread.
    PingRecords CopyFrom(std::size_t from) const;
    std::size_t CountSent() const;

    Pace& SendPace() { return m_pace; }

private:
    // What the wait thread waits for, so that others wake it only if its next wait would change.
    enum class Waiting { ForPings, ForDeadline, ForGrace };

    void ChooseIdentifier();
    bool AllSent() const;

    PingSignals& m_signals;

    // The ping list lock guards everything below but the pace, which has atomics, and the members of the
    // send thread.
    mutable FairLock m_pingListLock;
    PingPlan m_plan;
    std::string m_strPingTarget; // as it stands in the lines
    CPingList m_pingList;
    std::uint16_t m_wPingIdent = 0;
    std::uint16_t m_wPingNextSeq = 0; // written by the send thread, which reads it without the lock
    std::uint16_t m_wPingSeqBase = 0; // likewise
    bool m_identChosen = false;
    bool m_hasRoom = true; // after the last ping; read by the send thread without the lock
    std::uint32_t m_firstTick = 0;
    Waiting m_waiting = Waiting::ForPings;
    std::uint32_t m_graceEnd = 0;

    Pace m_pace;
};

} // namespace vnxtest
