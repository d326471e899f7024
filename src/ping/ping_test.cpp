#include "ping/ping_test.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <thread>

#include "core/output_channel.h"
#include "packets/ethernet.h"
#include "packets/icmp_echo.h"
#include "ping/echo_request.h"
#include "ping/packet_writer.h"
#include "wrenlib/ticks.h"

namespace vnxtest {

namespace {
// After the last ping is decided, late and duplicate replies are still counted for this long.
constexpr std::uint32_t kGrace = 1000;
// How many pings without a delay may be unanswered before the sender waits for their replies to be read:
// about half of what the capture buffer holds of full-sized frames at its default. And for how long it does
// so while nothing comes: the reading thread may have to wait for a processor, too.
constexpr std::size_t kFirstWindow = 256;
constexpr std::chrono::microseconds kShortestPause{100};
constexpr std::chrono::milliseconds kLongestPause{10};
constexpr std::chrono::milliseconds kPatience{250};
} // namespace

PingTest::PingTest(HostNetwork& host, ViewPort& view) : m_host(host), m_view(view) {}

PingTest::~PingTest() {
    StopPingTest();
}

void PingTest::ClearPings() {
    const std::lock_guard lock(m_pingListLock);
    m_pingList.RemoveAll();
}

void PingTest::Start(INTERFACE_INFO& info, const PingParameters& parameters) {
    m_interface = &info;
    m_parameters = parameters;
    m_result = {};
    ClearPings();
    m_stopPingEvent.Reset();
    m_endSendingEvent.Reset();
    m_pingThread.Start([this] { PingThread(); }, m_view, ViewMessage::PingThreadEnded);
}

bool PingTest::IsRunning() const {
    return m_pingThread.Exists() || m_waitThreadExists;
}

bool PingTest::IsDraining() const {
    return !m_pingThread.Exists() && m_waitThreadExists;
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

std::vector<CPing> PingTest::CopyPings(std::size_t from) const {
    const std::lock_guard lock(m_pingListLock);
    std::vector<CPing> pings;
    for (std::size_t position = from; position < m_pingList.GetCount(); ++position) {
        pings.push_back(m_pingList.GetAt(position));
    }
    return pings;
}

std::uint16_t PingTest::PingNumber(std::uint16_t sequence) const {
    return static_cast<std::uint16_t>(SwapNetwork16(sequence) - m_wPingSeqBase);
}

bool PingTest::AllSent() const {
    // A count of 0 has no end of its own: such a test runs until it is told to end.
    return m_endSendingEvent.IsSet() ||
           (m_parameters.numPings != 0 && m_pingList.GetCount() >= m_parameters.numPings);
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

void PingTest::PingThread() {
    LogMsg(L"\n** START PING TEST **\n\n");
    std::uint16_t counter = 0;
    std::uint16_t identifier = 0;
    {
        const std::lock_guard lock(m_pingListLock);
        ChooseIdentifier();
        m_wPingSeqBase = m_wPingNextSeq;
        counter = m_wPingNextSeq;
        identifier = m_wPingIdent;
        m_waiting = Waiting::ForPings;
        m_done = 0;
    }
    m_strPingTargetIP = FormatIPAddr(m_parameters.target);
    m_strPingTarget = m_parameters.targetName.empty() || m_parameters.targetName == m_strPingTargetIP
                          ? m_strPingTargetIP
                          : Sprintf(L"%s [%s]", m_parameters.targetName, m_strPingTargetIP);
    m_result.target = m_strPingTarget;
    m_result.targetIp = m_strPingTargetIP;
    m_result.parameters = m_parameters;
    m_result.sequenceBase = m_wPingSeqBase;
    LogMsg(L" ping  -c %d  -i %d  -s %d  -w %d  %s\n\n", m_parameters.numPings, m_parameters.delay,
           m_parameters.dataSize, m_parameters.timeout, m_strPingTarget);

    m_frame.assign(EthernetView::kLength + kPingHeaders + m_parameters.dataSize, 0);
    BuildEchoRequest(std::span(m_frame).subspan(EthernetView::kLength), m_host.Library(),
                     m_interface->guestIp, m_parameters.target, SwapNetwork16(identifier));

    // The first ping that was sent starts the wait thread.
    bool waitThreadStarted = false;
    Pace pace{.window = kFirstWindow};
    std::uint32_t remaining = m_parameters.numPings;
    do {
        ++counter;
        ++pace.sent;
        if (!SendPing(SwapNetwork16(counter))) {
            LogMsg(L"\n***  Ping #%hu failed; abort  ***\n\n",
                   static_cast<std::uint16_t>(counter - m_wPingSeqBase));
            m_result.writeFailed = true;
            m_stopPingEvent.Set();
            break;
        }
        if (!waitThreadStarted) {
            StartWaitThread();
            waitThreadStarted = true;
        }
        const bool goOn =
            m_parameters.delay != 0 ? !m_endSendingEvent.WaitFor(m_parameters.delay) : PaceSender(pace);
        if (!goOn) {
            break;
        }
    } while (--remaining != 0);
    {
        const std::lock_guard lock(m_pingListLock);
        m_wPingNextSeq = counter;
    }
}

void PingTest::StartWaitThread() {
    m_waitThreadExists =
        m_pingWaitThread.Start([this] { PingWaitThread(); }, m_view, ViewMessage::PingWaitThreadEnded);
}

// Remembers how far the receiving side is: a reply to the ping at `position`, or its time-out, says that
// what was sent before it is answered, lost or late. Under the list's lock.
void PingTest::NoteDone(CPingList::Position position) {
    if (position >= m_done.load(std::memory_order_relaxed)) {
        m_done.store(position + 1, std::memory_order_relaxed);
    }
}

// A sender that never pauses can fill the capture buffer while the thread that reads it waits for a
// processor, and replies are lost that did arrive. No progress for a long time means that the replies will
// never come, or have a very long way: those are written off, and more may be open, until that proves to be
// more than it takes.
bool PingTest::PaceSender(Pace& pace) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point never{};
    Clock::time_point lastProgress = never;
    std::size_t lastDone = 0;
    while (!m_endSendingEvent.IsSet()) {
        const std::size_t done = m_done.load(std::memory_order_relaxed);
        const std::size_t open = pace.sent - std::min(pace.sent, std::max(done, pace.writtenOff));
        pace.most = std::max(pace.most, open);
        if (done - pace.mostSince >= pace.window) {
            const bool tooWide = pace.most <= pace.window / 4 && pace.window > kFirstWindow;
            pace.window /= tooWide ? 2 : 1;
            pace.most = open;
            pace.mostSince = done;
        }
        if (open < pace.window) {
            return true;
        }
        const Clock::time_point now = Clock::now();
        if (lastProgress == never || done != lastDone) {
            lastProgress = now;
            lastDone = done;
        } else if (now - lastProgress >= kPatience) {
            pace = {.window = pace.window * 2, .sent = pace.sent, .writtenOff = pace.sent, .mostSince = done};
            return true;
        }
        // The longer nothing has come, the less often it pays to look.
        std::this_thread::sleep_for(
            std::clamp<Clock::duration>((now - lastProgress) / 4, kShortestPause, kLongestPause));
    }
    return false;
}

// Writing and recording are one step under the lock, so that a reply cannot be looked for before its
// request is in the list.
bool PingTest::SendPing(std::uint16_t sequence) {
    const std::uint16_t checksum =
        SetEchoSequence(std::span(m_frame).subspan(EthernetView::kLength), m_host.Library(), sequence);
    LogMsg(L" Sending ping #%hu bytes=%d to %s...\n", PingNumber(sequence), m_parameters.dataSize,
           m_strPingTarget);
    bool wakeWaiter = false;
    {
        const std::lock_guard lock(m_pingListLock);
        if (!WritePingIPPacket(*m_interface, m_host, m_frame)) {
            return false;
        }
        CPing ping;
        ping.wIcmpId = SwapNetwork16(m_wPingIdent);
        ping.wIcmpSeq = sequence;
        ping.wIcmpChecksum = checksum;
        ping.wDataSize = static_cast<std::uint16_t>(m_parameters.dataSize);
        ping.dwSentTick = GetTicks();
        ping.dwDeadlineTick = ping.dwSentTick + m_parameters.timeout;
        m_pingList.AddTail(ping);
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
        // After a wrap of the sequence numbers the reply counts for the first ping with its number, but it
        // was the latest that was answered.
        const CPingList::Position last = m_pingList.GetCount() - 1;
        NoteDone(last - (last - *position) % 0x10000);
        ping.dwReplyTick = now;
        ++ping.nReplies;
        const std::uint32_t roundTrip = now - ping.dwSentTick;
        const std::wstring timeText = roundTrip == 0 ? std::wstring(L"<1") : std::to_wstring(roundTrip);
        const std::wstring countText = ping.nReplies > 1 ? Sprintf(L" #%u", ping.nReplies) : std::wstring();
        const bool late = TickReached(now, ping.dwDeadlineTick) && now != ping.dwDeadlineTick;
        const std::wstring lateText =
            late ? Sprintf(L" (%ums late)", now - ping.dwDeadlineTick) : std::wstring();
        LogMsg(L" Reply%s to ping #%hu received from %s: bytes=%d time=%sms TTL=%u%s\n", countText,
               PingNumber(icmpSeq), FormatIPAddr(source), dataLength, timeText, timeToLive, lateText);
        m_pingList.SetAt(*position, ping);
        // The answer to the last undecided ping begins the end of the test; any other answer leaves
        // the wait thread's deadline at worst too early, which costs it one more look.
        wakeWaiter = m_waiting == Waiting::ForDeadline && AllSent() && !m_pingList.FirstUndecided();
    }
    if (wakeWaiter) {
        m_pingEvent.Set();
    }
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
        NoteDone(*position);
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

PingStatistics ComputePingStatistics(const CPingList& list) {
    PingStatistics result;
    result.minimum = 0xFFFFFFFF;
    std::uint64_t sum = 0;
    for (CPingList::Position position = 0; position < list.GetCount(); ++position) {
        const CPing ping = list.GetAt(position);
        ++result.sent;
        if (ping.nTimeouts != 0) {
            ++result.timeouts;
        }
        if (ping.nReplies == 0) {
            ++result.lost;
            continue;
        }
        ++result.received;
        result.duplicates += ping.nReplies - 1;
        const std::uint32_t roundTrip = ping.dwReplyTick - ping.dwSentTick;
        result.minimum = std::min(result.minimum, roundTrip);
        result.maximum = std::max(result.maximum, roundTrip);
        sum += roundTrip;
    }
    if (result.minimum == 0xFFFFFFFF) {
        result.minimum = 0;
    }
    if (result.received != 0) {
        result.average = static_cast<std::uint32_t>(sum / result.received);
    }
    if (result.sent != 0) {
        // Tenths of a percent, rounded, then rounded half up to whole percent.
        const std::uint64_t tenths = (std::uint64_t{result.lost} * 1000 + result.sent / 2) / result.sent;
        result.lossPercent = static_cast<std::uint32_t>((tenths + 5) / 10);
    }
    return result;
}

void PingTest::ReportStatistics() {
    PingStatistics statistics;
    {
        const std::lock_guard lock(m_pingListLock);
        statistics = ComputePingStatistics(m_pingList);
        if (m_keepRecords) {
            for (CPingList::Position position = 0; position < m_pingList.GetCount(); ++position) {
                m_result.pings.push_back(m_pingList.GetAt(position));
            }
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
