#include "ping/ping_book.h"

#include <algorithm>
#include <mutex>
#include <random>

#include "packets/icmp_echo.h"
#include "wrenlib/ticks.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

namespace {
// How long late and duplicate replies are still counted after the last ping is decided, in milliseconds.
constexpr std::uint32_t kGrace = 1000;

FrameVerdict VerdictOf(std::uint32_t number, const CPing& ping, Ipv4Address station) {
    constexpr std::int64_t kNanosecondsPerTick = 1'000'000;
    const std::int64_t timeout = (ping.dwDeadlineTick - ping.dwSentTick) * kNanosecondsPerTick;
    const std::int64_t lateBy =
        ping.nTimeouts != 0 ? std::max(ping.roundTripNs - timeout, std::int64_t{1}) : 0;
    return {.fate = FrameFate::Reply,
            .number = number,
            .replies = ping.nReplies,
            .station = station,
            .roundTrip = static_cast<std::uint64_t>(ping.roundTripNs),
            .lateBy = static_cast<std::uint64_t>(lateBy)};
}
} // namespace

void PingBook::Clear() {
    const std::lock_guard lock(m_pingListLock);
    m_pingList.RemoveAll();
}

// One identifier for the process's life, and sequence numbers that continue from test to test, so that a
// reply to an earlier test is never matched with this one.
void PingBook::ChooseIdentifier() {
    if (m_identChosen) {
        return;
    }
    constexpr std::uint32_t kMask = 0x7FFF;
    std::minstd_rand generator(GetTicks());
    generator.discard(1);
    m_wPingIdent = static_cast<std::uint16_t>((generator() >> 8) & kMask);
    m_wPingNextSeq = static_cast<std::uint16_t>((generator() >> 8) & kMask);
    m_identChosen = true;
}

std::uint16_t PingBook::Begin(const PingPlan& plan, const std::wstring& target, std::size_t ringSlots) {
    const std::lock_guard lock(m_pingListLock);
    ChooseIdentifier();
    m_plan = plan;
    m_strPingTarget = VisibleUtf8(target);
    m_wPingSeqBase = m_wPingNextSeq;
    m_firstTick = 0;
    m_waiting = Waiting::ForPings;
    m_pace.Begin(ringSlots);
    return m_wPingIdent;
}

void PingBook::KeepLastSequence(std::uint16_t sequence) {
    const std::lock_guard lock(m_pingListLock);
    m_wPingNextSeq = sequence;
}

std::uint16_t PingBook::PingNumber(std::uint16_t sequence) const {
    return static_cast<std::uint16_t>(SwapNetwork16(sequence) - m_wPingSeqBase);
}

bool PingBook::AllSent() const {
    // A count of 0: the test runs until it is told to end.
    return m_signals.endSending.IsSet() || (m_plan.numPings != 0 && m_pingList.GetCount() >= m_plan.numPings);
}

SendOutcome PingBook::Send(std::uint16_t sequence, std::uint16_t checksum,
                           const std::function<bool()>& write) {
    bool wakeWaiter = false;
    {
        const std::lock_guard lock(m_pingListLock);
        if (m_signals.stop.IsSet() && m_pingList.GetCount() != 0) {
            // The statistics may have been written already, and must count every announced ping.
            return SendOutcome::TestEnded;
        }
        LogSending(PingNumber(sequence), m_plan, m_strPingTarget);
        CPing ping;
        ping.sent = ClockReading::Now();
        if (!write()) {
            return SendOutcome::Failed;
        }
        ping.wIcmpId = SwapNetwork16(m_wPingIdent);
        ping.wIcmpSeq = sequence;
        ping.wIcmpChecksum = checksum;
        ping.wDataSize = static_cast<std::uint16_t>(m_plan.dataSize);
        ping.dwSentTick = GetTicks();
        ping.dwDeadlineTick = ping.dwSentTick + m_plan.timeout;
        if (m_pingList.GetCount() == 0) {
            m_firstTick = ping.dwSentTick;
        }
        m_pingList.AddTail(ping);
        m_hasRoom = m_pingList.HasRoom();
        // A wait thread that waits for an earlier deadline need not be woken for a later one.
        wakeWaiter = m_waiting != Waiting::ForDeadline;
    }
    if (wakeWaiter) {
        m_signals.changed.Set();
    }
    return SendOutcome::Written;
}

bool PingBook::HasRoom() {
    if (!m_hasRoom) { // changed by this thread only
        const std::lock_guard lock(m_pingListLock);
        m_hasRoom = m_pingList.HasRoom();
    }
    return m_hasRoom;
}

FrameVerdict PingBook::RecordReply(const ReceivedReply& reply) {
    const ClockReading read = ClockReading::Now();
    std::uint32_t now = read.Ticks();
    bool wakeWaiter = false;
    FrameVerdict verdict;
    {
        const std::lock_guard lock(m_pingListLock);
        const auto position = m_pingList.Find(reply.icmpId, reply.icmpSeq);
        if (!position) {
            return {.fate = FrameFate::ReplyToNoPing};
        }
        CPing ping = m_pingList.GetAt(*position);
        // The request is noted as sent after it was written, under the lock; the reply may have been read
        // before that. The round trip is 0 then.
        if (!TickReached(now, ping.dwSentTick)) {
            now = ping.dwSentTick;
        }
        ping.dwReplyTick = now;
        ping.roundTripNs = RoundTripNs(ping.sent, read, reply.stampUnixNs);
        ++ping.nReplies;
        m_pace.NoteReply(*position, now - ping.dwSentTick);
        LogReply(PingNumber(ping.wIcmpSeq), ping, reply);
        m_pingList.SetAt(*position, ping);
        verdict = VerdictOf(PingNumber(ping.wIcmpSeq), ping, reply.source);
        // The reply to the last undecided ping begins the grace. After any other reply the wait thread's
        // deadline is at worst too early, which costs one more pass.
        wakeWaiter = m_waiting == Waiting::ForDeadline && AllSent() && !m_pingList.FirstUndecided();
    }
    if (wakeWaiter) {
        m_signals.changed.Set();
    }
    return verdict;
}

bool PingBook::IsOwnIdentifier(std::uint16_t icmpId) const {
    const std::lock_guard lock(m_pingListLock);
    return m_identChosen && icmpId == SwapNetwork16(m_wPingIdent);
}

std::optional<std::uint32_t> PingBook::CheckDeadlines() {
    const std::lock_guard lock(m_pingListLock);
    const std::uint32_t now = GetTicks();
    while (const auto position = m_pingList.FirstUndecided()) {
        CPing ping = m_pingList.GetAt(*position);
        if (!TickReached(now, ping.dwDeadlineTick)) {
            m_waiting = Waiting::ForDeadline;
            return ping.dwDeadlineTick - now;
        }
        LogTimeout(PingNumber(ping.wIcmpSeq));
        ping.nTimeouts = 1;
        m_pace.NoteDone(*position);
        m_pingList.SetAt(*position, ping);
    }
    if (!AllSent()) {
        m_waiting = Waiting::ForPings;
        return 0;
    }
    // The grace runs to its end: a late or duplicate reply within it is counted and does not shorten it.
    if (m_waiting != Waiting::ForGrace) {
        m_waiting = Waiting::ForGrace;
        m_graceEnd = now + kGrace;
    }
    return TickReached(now, m_graceEnd) ? std::nullopt : std::optional(m_graceEnd - now);
}

PingFigures PingBook::Figures(bool withRecords) const {
    const std::lock_guard lock(m_pingListLock);
    return {m_pingList.Statistics(), m_firstTick, withRecords ? m_pingList.CopyFrom(0) : PingRecords()};
}

PingRecords PingBook::CopyFrom(std::size_t from) const {
    const std::lock_guard lock(m_pingListLock);
    return m_pingList.CopyFrom(from);
}

std::size_t PingBook::CountSent() const {
    const std::lock_guard lock(m_pingListLock);
    return m_pingList.GetCount();
}

} // namespace vnxtest
