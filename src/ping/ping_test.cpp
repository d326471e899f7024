#include "ping/ping_test.h"

#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/log.h"

namespace vnxtest {

PingTest::PingTest(VnetxLibrary& library, PacketWriter& writer, const RunSettings& run, ViewPort& view)
    : m_view(view), m_sender(library, writer, run, m_book, m_signals) {}

PingTest::~PingTest() {
    StopPingTest();
}

bool PingTest::Start(INTERFACE_INFO& info, const PingPlan& plan) {
    m_interface = &info;
    m_result = {};
    m_result.plan = plan;
    m_result.beganUnixNs = ClockReading::Now().unixNs;
    ClearPings();
    m_signals.stop.Reset();
    m_signals.endSending.Reset();
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

// The wait thread may be waiting for more pings, so it is woken.
void PingTest::EndSending() {
    m_signals.endSending.Set();
    m_signals.changed.Set();
}

void PingTest::StopPingTest() {
    if (!IsRunning()) {
        return;
    }
    m_signals.stop.Set();
    m_signals.endSending.Set();
    JoinSendThread();
    JoinWaitThread();
    m_signals.stop.Reset();
    ClearPings();
}

// Both handlers check that the thread has ended: a test that was stopped by command leaves its messages in
// the queue, and joining the next test's thread would block the view for as long as that test takes.
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

void PingTest::PingThread() {
    m_sender.Begin(*m_interface, m_result.plan);
    bool watched = false;
    // The first ping starts the wait thread; if the system has no thread to give, the next one tries again.
    m_result.writeFailed = !m_sender.SendAll([this, &watched] { watched = watched || StartWaitThread(); });
    if (!watched && PingsSent() != 0) {
        PingWaitThread(); // on this thread: time-outs and statistics
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

void PingTest::PingWaitThread() {
    while (true) {
        m_signals.changed.Reset();
        m_signals.deadline.Cancel();
        const auto wait = m_book.CheckDeadlines();
        if (!wait) {
            break;
        }
        if (*wait != 0) {
            m_signals.deadline.Arm(*wait);
        }
        if (WaitForAny(m_signals.domain, {&m_signals.stop, &m_signals.changed, &m_signals.deadline}) == 0) {
            break;
        }
    }
    m_signals.deadline.Cancel();
    ReportStatistics();
    LogMsg(L"\n** END PING TEST **\n\n");
}

void PingTest::ReportStatistics() {
    const PingFigures figures = m_book.Figures(m_keepRecords);
    m_result.statistics = figures.statistics;
    m_result.records = figures.records;
    m_result.firstTick = figures.firstTick;
    m_result.endedUnixNs = ClockReading::Now().unixNs;
    m_result.complete = true;
    LogStatistics(m_result.statistics, DescribePingTarget(m_result.plan));
}

} // namespace vnxtest
