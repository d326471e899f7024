// The ping test: the guest sends echo requests to a target and reports each reply, each time-out
// and the statistics (RFC 792).
//
// The send thread writes one echo request per interval, the wait thread declares time-outs and writes the
// statistics; without a wait thread the send thread does so at the end. The receive path
// (ping/receive_path.h) records replies on a monitor thread. All of them work on the book of pings
// (ping/ping_book.h); this class starts and joins the threads. User-interface thread unless a function says
// otherwise.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/interface_info.h"
#include "core/ping_plan.h"
#include "core/run_settings.h"
#include "core/view_port.h"
#include "core/worker_thread.h"
#include "ping/packet_writer.h"
#include "ping/ping_book.h"
#include "ping/ping_sender.h"

namespace vnxtest {

// The result of a finished test.
struct PingTestResult {
    bool complete = false;    // statistics were written
    bool writeFailed = false; // a packet could not be written: the test was broken off
    std::wstring problem;     // a thread that the test needs could not be started: the failure line
    PingPlan plan;
    std::uint32_t firstTick = 0;  // when the first ping was sent
    std::int64_t beganUnixNs = 0; // nanoseconds since 1970
    std::int64_t endedUnixNs = 0; // when it was complete
    PingStatistics statistics;
    PingRecords records; // only when kept (KeepRecords)
};

class PingTest {
public:
    // `library` makes the checksums. The driver's buffer size of `run` sets the pace of a sender without a
    // delay.
    PingTest(VnetxLibrary& library, PacketWriter& writer, const RunSettings& run, ViewPort& view);
    ~PingTest();
    PingTest(const PingTest&) = delete;
    PingTest& operator=(const PingTest&) = delete;

    // Empties the list. The first step of the start command.
    void ClearPings() { m_book.Clear(); }
    // Starts the send thread. Not while a test runs. False if the system has no thread to give: the failure
    // line is written, and is Result().problem.
    bool Start(INTERFACE_INFO& info, const PingPlan& plan);
    // Ends the sending: the pings sent are still decided, with the last deadlines and the grace, as if all
    // were sent. Returns at once. No effect once the sending has ended. Any thread.
    void EndSending();
    // Stops a running test, joins its threads (they still write the statistics) and empties the list. No
    // effect if no ping thread exists.
    void StopPingTest();
    // True if a ping thread exists.
    bool IsRunning() const;

    // Handlers of PingThreadEnded and PingWaitThreadEnded: join the thread if it has ended.
    void OnPingThreadEnded();
    void OnPingWaitThreadEnded();

    // Records an echo reply, writes its line and returns what became of it. A reply to no ping of this test
    // is dropped silently. Any monitor thread.
    FrameVerdict RecordReply(const ReceivedReply& reply) { return m_book.RecordReply(reply); }
    // True if `icmpId` (network order) is the identifier of this program's pings. Any thread.
    bool IsOwnIdentifier(std::uint16_t icmpId) const { return m_book.IsOwnIdentifier(icmpId); }

    // From the next test on, keep a copy of all records in the result.
    void KeepRecords(bool keep) { m_keepRecords = keep; }
    // The last test's result. Valid while no ping thread exists.
    const PingTestResult& Result() const { return m_result; }

    // Copies the records from index `from` on, as far as they are still kept, for a live display. Any thread.
    PingRecords CopyPings(std::size_t from) const { return m_book.CopyFrom(from); }
    // What the test was started with. While it runs: user-interface thread.
    const PingPlan& Plan() const { return m_result.plan; }
    // The figures so far, all of one moment, and with `withRecords` the records. Any thread.
    PingFigures FiguresSoFar(bool withRecords) const { return m_book.Figures(withRecords); }
    // How many pings the test has sent so far. Any thread.
    std::size_t PingsSent() const { return m_book.CountSent(); }

private:
    void PingThread();
    void PingWaitThread();
    bool StartWaitThread();
    void ReportThreadFailure(std::wstring_view where, std::wstring_view which, const WorkerThread& thread);
    void ReportStatistics();
    void JoinSendThread();
    void JoinWaitThread();

    ViewPort& m_view;
    INTERFACE_INFO* m_interface = nullptr;
    bool m_keepRecords = false;
    PingTestResult m_result;

    PingSignals m_signals;
    PingBook m_book{m_signals};
    PingSender m_sender; // used by the send thread
    WorkerThread m_pingThread;
    // True while the wait thread exists; the send thread starts it, the user-interface thread joins it.
    std::atomic<bool> m_waitThreadExists{false};
    WorkerThread m_pingWaitThread;
};

} // namespace vnxtest
