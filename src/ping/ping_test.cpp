#include "ping/ping_test.h"

#include <random>
#include <thread>

#include "core/output_channel.h"
#include "packets/ethernet.h"
#include "packets/icmp_echo.h"
#include "ping/echo_request.h"
#include "ping/packet_writer.h"
#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/ticks.h"

namespace vnxtest {

namespace {
// After the last ping is decided, late and duplicate replies are still counted for this long.
constexpr std::uint32_t kGrace = 1000;
// A list that is full of undecided pings is looked at again after so many milliseconds.
constexpr std::uint32_t kRoomCheck = 5;
} // namespace

PingTest::PingTest(HostNetwork& host, const RunSettings& run, ViewPort& view)
    : m_host(host), m_run(run), m_view(view) {}

PingTest::~PingTest() {
    StopPingTest();
}

void PingTest::ClearPings() {
    const std::lock_guard lock(m_pingListLock);
    m_pingList.RemoveAll();
}

bool PingTest::Start(INTERFACE_INFO& info, const PingPlan& plan) {
    m_interface = &info;
    m_plan = plan;
    m_result = {};
    m_result.plan = plan;
    ClearPings();
    m_stopPingEvent.Reset();
    m_endSendingEvent.Reset();
    if (m_pingThread.Start([this] { PingThread(); }, m_view, ViewMessage::PingThreadEnded)) {
        return true;
    }
    ReportThreadFailure(L"OnTestStartPing", L"send thread", m_pingThread);
    return false;
}

void PingTest::ReportThreadFailure(std::wstring_view where, std::wstring_view which,
                                   const WorkerThread& thread) {
    const int code = thread.StartError();
    m_result.problem = Sprintf(L"** %s: the ping test's %s could not be started; errno=%d: %s",
                               std::wstring(where), std::wstring(which), code, StrError(code));
    LogMsg(L"%s\n", m_result.problem);
}

bool PingTest::IsRunning() const {
    return m_pingThread.Exists() || m_waitThreadExists;
}

void PingTest::JoinSendThread() {
    m_pingThread.Join();
}

void PingTest::JoinWaitThread() {
    m_pingWaitThread.Join();
    m_waitThreadExists = false;
}

// The wait thread may be waiting for more pings, of which there will be none.
void PingTest::EndSending() {
    m_endSendingEvent.Set();
    m_pingEvent.Set();
}

void PingTest::StopPingTest() {
    if (!IsRunning()) {
        return;
    }
    m_stopPingEvent.Set();
    m_endSendingEvent.Set();
    JoinSendThread();
    JoinWaitThread();
    m_stopPingEvent.Reset();
    ClearPings();
}

// Both handlers look whether the thread has really ended: a test that was stopped by command leaves
// its messages in the queue, and waiting for the next test's thread would block the view for as long
// as that test takes.
void PingTest::OnPingThreadEnded() {
    if (m_pingThread.HasEnded()) {
        JoinSendThread();
    }
}

void PingTest::OnPingWaitThreadEnded() {
    if (m_waitThreadExists && m_pingWaitThread.HasEnded()) {
        JoinWaitThread();
    }
}

PingRecords PingTest::CopyPings(std::size_t from) const {
    const std::lock_guard lock(m_pingListLock);
    return m_pingList.CopyFrom(from);
}

std::size_t PingTest::PingsSent() const {
    const std::lock_guard lock(m_pingListLock);
    return m_pingList.GetCount();
}

std::uint16_t PingTest::PingNumber(std::uint16_t sequence) const {
    return static_cast<std::uint16_t>(SwapNetwork16(sequence) - m_wPingSeqBase);
}

bool PingTest::AllSent() const {
    // A count of 0 has no end of its own: such a test runs until it is told to end.
    return m_endSendingEvent.IsSet() || (m_plan.numPings != 0 && m_pingList.GetCount() >= m_plan.numPings);
}

// The identifier is the process's for its whole life, and the sequence numbers go on from test to
// test, so that a reply to an earlier test is never taken for one to this.
void PingTest::ChooseIdentifier() {
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

// Everything that is the same for all pings of the test.
void PingTest::BeginSending() {
    LogMsg(L"\n** START PING TEST **\n\n");
    std::uint16_t identifier = 0;
    {
        const std::lock_guard lock(m_pingListLock);
        ChooseIdentifier();
        m_wPingSeqBase = m_wPingNextSeq;
        identifier = m_wPingIdent;
        m_waiting = Waiting::ForPings;
        m_pace.Begin(Pace::RingSlots(m_run.driverBufferSize, m_plan.dataSize));
    }
    const std::wstring targetIp = FormatIPAddr(m_plan.target);
    m_strPingTarget = m_plan.targetName.empty() || m_plan.targetName == targetIp
                          ? targetIp
                          : Sprintf(L"%s [%s]", m_plan.targetName, targetIp);
    LogMsg(L" ping  -c %d  -i %d  -s %d  -w %d  %s\n\n", m_plan.numPings, m_plan.delay, m_plan.dataSize,
           m_plan.timeout, m_strPingTarget);
    m_frame.assign(EthernetView::kLength + kPingHeaders + m_plan.dataSize, 0);
    BuildEchoRequest(std::span(m_frame).subspan(EthernetView::kLength), m_host.Library(),
                     m_interface->guestIp, m_plan.target, SwapNetwork16(identifier));
}

bool PingTest::SendPings() {
    bool watched = false;
    std::uint16_t counter = m_wPingNextSeq;
    std::size_t sent = 0;
    std::uint32_t remaining = m_plan.numPings;
    do {
        ++counter;
        if (!SendPing(SwapNetwork16(counter))) {
            LogMsg(L"\n***  Ping #%hu failed; abort  ***\n\n",
                   static_cast<std::uint16_t>(counter - m_wPingSeqBase));
            m_result.writeFailed = true;
            m_stopPingEvent.Set();
            break;
        }
        // The first ping that was sent starts the wait thread; when the system has none, the next one tries.
        watched = watched || StartWaitThread();
        if (!AwaitTurn(++sent)) {
            break;
        }
    } while (--remaining != 0);
    const std::lock_guard lock(m_pingListLock);
    m_wPingNextSeq = counter;
    return watched;
}

void PingTest::PingThread() {
    BeginSending();
    if (!SendPings() && PingsSent() != 0) {
        PingWaitThread(); // what it does is still owed
    }
}

bool PingTest::StartWaitThread() {
    if (m_pingWaitThread.Start([this] { PingWaitThread(); }, m_view, ViewMessage::PingWaitThreadEnded)) {
        m_waitThreadExists = true;
        m_result.problem.clear();
        return true;
    }
    if (m_result.problem.empty()) {
        ReportThreadFailure(L"PingThread", L"wait thread", m_pingWaitThread);
    }
    return false;
}

bool PingTest::AwaitTurn(std::size_t sent) {
    if (m_plan.delay != 0 && m_endSendingEvent.WaitFor(m_plan.delay)) {
        return false;
    }
    // A reply can be told from those of 65,536 pings ago only when these are decided.
    while (!m_hasRoom && !m_endSendingEvent.WaitFor(kRoomCheck)) {
        const std::lock_guard lock(m_pingListLock);
        m_hasRoom = m_pingList.HasRoom();
    }
    if (m_plan.delay == 0 && !m_pace.IsFree(sent)) {
        while (!m_endSendingEvent.IsSet()) {
            const Pace::Clock::duration wait = m_pace.Wait(sent, Pace::Clock::now());
            if (wait == Pace::Clock::duration::zero()) {
                break;
            }
            std::this_thread::sleep_for(wait);
        }
    }
    return !m_endSendingEvent.IsSet();
}

// Writing and recording are one step under the lock, so that a reply cannot be looked for before its
// request is in the list.
bool PingTest::SendPing(std::uint16_t sequence) {
    const std::uint16_t checksum =
        SetEchoSequence(std::span(m_frame).subspan(EthernetView::kLength), m_host.Library(), sequence);
    // Before the lock: a silent target is asked for as long as an ARP exchange takes, and no reader of
    // replies is to wait for that.
    AddressPingFrame(*m_interface, m_host, m_frame);
    bool wakeWaiter = false;
    {
        const std::lock_guard lock(m_pingListLock);
        if (m_stopPingEvent.IsSet() && m_pingList.GetCount() != 0) {
            return true; // the statistics may be written already: they count every ping that was announced
        }
        LogMsg(L" Sending ping #%hu bytes=%d to %s...\n", PingNumber(sequence), m_plan.dataSize,
               m_strPingTarget);
        if (!WriteAddressedFrame(*m_interface, m_host, m_frame)) {
            return false;
        }
        CPing ping;
        ping.wIcmpId = SwapNetwork16(m_wPingIdent);
        ping.wIcmpSeq = sequence;
        ping.wIcmpChecksum = checksum;
        ping.wDataSize = static_cast<std::uint16_t>(m_plan.dataSize);
        ping.dwSentTick = GetTicks();
        ping.dwDeadlineTick = ping.dwSentTick + m_plan.timeout;
        if (m_pingList.GetCount() == 0) {
            m_result.firstTick = ping.dwSentTick;
        }
        m_pingList.AddTail(ping);
        m_hasRoom = m_pingList.HasRoom();
        // While it waits for an earlier deadline, a later one changes nothing for the wait thread.
        wakeWaiter = m_waiting != Waiting::ForDeadline;
    }
    if (wakeWaiter) {
        m_pingEvent.Set();
    }
    return true;
}

void PingTest::RecordReply(std::uint16_t icmpId, std::uint16_t icmpSeq, Ipv4Address source,
                           std::uint32_t dataLength, std::uint8_t timeToLive) {
    std::uint32_t now = GetTicks();
    bool wakeWaiter = false;
    {
        const std::lock_guard lock(m_pingListLock);
        const auto position = m_pingList.Find(icmpId, icmpSeq);
        if (!position) {
            return;
        }
        CPing ping = m_pingList.GetAt(*position);
        // The request is noted as sent once it is written, under the lock; the reply may have been read
        // before that. No round trip is shorter than nothing.
        if (!TickReached(now, ping.dwSentTick)) {
            now = ping.dwSentTick;
        }
        ping.dwReplyTick = now;
        ++ping.nReplies;
        m_pace.NoteReply(*position, now - ping.dwSentTick);
        WriteReplyLine(ping, source, dataLength, timeToLive);
        m_pingList.SetAt(*position, ping);
        // The answer to the last undecided ping begins the end of the test; any other answer leaves
        // the wait thread's deadline at worst too early, which costs it one more look.
        wakeWaiter = m_waiting == Waiting::ForDeadline && AllSent() && !m_pingList.FirstUndecided();
    }
    if (wakeWaiter) {
        m_pingEvent.Set();
    }
}

void PingTest::WriteReplyLine(const CPing& ping, Ipv4Address source, std::uint32_t dataLength,
                              std::uint8_t timeToLive) const {
    const std::uint32_t now = ping.dwReplyTick;
    const std::uint32_t roundTrip = now - ping.dwSentTick;
    const std::wstring timeText = roundTrip == 0 ? std::wstring(L"<1") : std::to_wstring(roundTrip);
    const std::wstring countText = ping.nReplies > 1 ? Sprintf(L" #%u", ping.nReplies) : std::wstring();
    const bool late = TickReached(now, ping.dwDeadlineTick) && now != ping.dwDeadlineTick;
    const std::wstring lateText = late ? Sprintf(L" (%ums late)", now - ping.dwDeadlineTick) : std::wstring();
    LogMsg(L" Reply%s to ping #%hu received from %s: bytes=%d time=%sms TTL=%u%s\n", countText,
           PingNumber(ping.wIcmpSeq), FormatIPAddr(source), dataLength, timeText, timeToLive, lateText);
}

std::optional<std::uint32_t> PingTest::CheckDeadlines(std::uint32_t& graceEnd) {
    const std::lock_guard lock(m_pingListLock);
    const std::uint32_t now = GetTicks();
    while (const auto position = m_pingList.FirstUndecided()) {
        CPing ping = m_pingList.GetAt(*position);
        if (!TickReached(now, ping.dwDeadlineTick)) {
            m_waiting = Waiting::ForDeadline;
            return ping.dwDeadlineTick - now;
        }
        LogMsg(L" Ping #%hu has timed out.\n", PingNumber(ping.wIcmpSeq));
        ping.nTimeouts = 1;
        m_pace.NoteDone(*position);
        m_pingList.SetAt(*position, ping);
    }
    if (!AllSent()) {
        m_waiting = Waiting::ForPings;
        return 0;
    }
    // The grace runs to its end: a late or duplicate reply within it is counted, and does not cut it
    // short for the others.
    if (m_waiting != Waiting::ForGrace) {
        m_waiting = Waiting::ForGrace;
        graceEnd = now + kGrace;
    }
    return TickReached(now, graceEnd) ? std::nullopt : std::optional(graceEnd - now);
}

void PingTest::PingWaitThread() {
    std::uint32_t graceEnd = 0;
    while (true) {
        m_pingEvent.Reset();
        m_pingTimer.Cancel();
        const auto wait = CheckDeadlines(graceEnd);
        if (!wait) {
            break;
        }
        if (*wait != 0) {
            m_pingTimer.Arm(*wait);
        }
        if (WaitForAny(m_waitDomain, {&m_stopPingEvent, &m_pingEvent, &m_pingTimer}) == 0) {
            break;
        }
    }
    m_pingTimer.Cancel();
    ReportStatistics();
    LogMsg(L"\n** END PING TEST **\n\n");
}

void PingTest::ReportStatistics() {
    PingStatistics statistics;
    {
        const std::lock_guard lock(m_pingListLock);
        statistics = m_pingList.Statistics();
        if (m_keepRecords) {
            m_result.records = m_pingList.CopyFrom(0);
        }
    }
    m_result.statistics = statistics;
    m_result.complete = true;
    LogMsg(L"\n Ping statistics for %s:\n\n"
           L" %5u Pings Sent\n"
           L" %5u Replies Received (Minimum = %ums, Maximum = %ums, Average = %ums)\n"
           L" %5u Pings Timeouts\n"
           L" %5u Duplicate Replies\n"
           L" %5u Pings Lost (%u%%)\n\n",
           m_strPingTarget, statistics.sent, statistics.received, statistics.minimum, statistics.maximum,
           statistics.average, statistics.timeouts, statistics.duplicates, statistics.lost,
           statistics.lossPercent);
    if (statistics.lost != 0) {
        LogMsg(L" Ping test has FAILED.\n");
    } else {
        LogMsg(L" Ping test successful.\n");
    }
}

} // namespace vnxtest
