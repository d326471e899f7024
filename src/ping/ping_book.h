// The pings of the current test and what has become of each, under the ping list lock.
//
// The send thread writes pings down, monitor threads their replies, the wait thread their time-outs. The
// lines of a ping are written under the lock, so that they never change places.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

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
    // Begins a test by this plan, whose lines name the target so. `ringSlots` as Pace::Begin takes it.
    // Returns the ICMP identifier (host order) of its pings. Send thread.
    std::uint16_t Begin(const PingPlan& plan, const std::wstring& target, std::size_t ringSlots);

    // The sequence number (host order) before the test's next ping, and the one it has come to. Send thread.
    std::uint16_t LastSequence() const { return m_wPingNextSeq; }
    void KeepLastSequence(std::uint16_t sequence);

    // Announces the ping of this sequence number (network order), has `write` write it and notes it as sent:
    // one step under the lock, so that a reply cannot be looked for before its request is in the list.
    // `checksum` is the request's as it stands in the packet. Send thread.
    SendOutcome Send(std::uint16_t sequence, std::uint16_t checksum, const std::function<bool()>& write);
    // The list takes another ping. Send thread.
    bool HasRoom();

    // Notes a reply and writes its line. One to no ping of this test is dropped silently. Any thread.
    void RecordReply(const ReceivedReply& reply);

    // The wait thread's pass over the list: the milliseconds to wait (0: until something happens),
    // or nullopt when the test is over.
    std::optional<std::uint32_t> CheckDeadlines();

    // The number of a ping in the lines, from its sequence number (network order).
    std::uint16_t PingNumber(std::uint16_t sequence) const;

    // Of the test so far, all of one moment; the records only when they are asked for. Any thread.
    PingFigures Figures(bool withRecords) const;
    // The records from index `from` on, as far as they are still kept. Any thread.
    PingRecords CopyFrom(std::size_t from) const;
    std::size_t CountSent() const;

    Pace& SendPace() { return m_pace; }

private:
    // What the wait thread is waiting for, so that others wake it only when its answer would change.
    enum class Waiting { ForPings, ForDeadline, ForGrace };

    void ChooseIdentifier();
    bool AllSent() const;

    PingSignals& m_signals;

    // The ping list lock guards everything below but the pace, which guards itself.
    mutable FairLock m_pingListLock;
    PingPlan m_plan;
    std::wstring m_strPingTarget;
    CPingList m_pingList;
    std::uint16_t m_wPingIdent = 0;
    std::uint16_t m_wPingNextSeq = 0; // the send thread's, to be read without the lock
    std::uint16_t m_wPingSeqBase = 0; // likewise
    bool m_identChosen = false;
    bool m_hasRoom = true; // as of the latest ping
    std::uint32_t m_firstTick = 0;
    Waiting m_waiting = Waiting::ForPings;
    std::uint32_t m_graceEnd = 0;

    Pace m_pace;
};

} // namespace vnxtest
