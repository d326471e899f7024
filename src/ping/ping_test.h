// The ping test: the guest sends echo requests to a target and reports each reply, each time-out
// and the statistics (RFC 792).
//
// Two threads: the send thread writes one echo request per interval, the wait thread declares
// time-outs and writes the statistics. The receive path (ping/receive_path.h) records replies on a
// monitor thread. All of them work on the ping list under its lock.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/interface_info.h"
#include "core/ping_plan.h"
#include "core/run_settings.h"
#include "core/view_port.h"
#include "core/worker_thread.h"
#include "hostnet/host_network.h"
#include "ping/pace.h"
#include "ping/ping_list.h"
#include "wrenlib/address.h"
#include "wrenlib/fair_lock.h"
#include "wrenlib/wait.h"

namespace vnxtest {

// What a finished test leaves for others to read.
struct PingTestResult {
    bool complete = false;    // statistics were written
    bool writeFailed = false; // a packet could not be written: the test was broken off
    std::wstring problem;     // a thread that the test needs could not be started: the failure line
    PingPlan plan;
    std::uint32_t firstTick = 0; // when the first ping was sent
    PingStatistics statistics;
    PingRecords records; // only when kept (KeepRecords)
};

class PingTest {
public:
    // The driver's buffer size of `run` is what a sender without a delay keeps pace with.
    PingTest(HostNetwork& host, const RunSettings& run, ViewPort& view);
    ~PingTest();
    PingTest(const PingTest&) = delete;
    PingTest& operator=(const PingTest&) = delete;

    // Empties the list. The first step of the start command.
    void ClearPings();
    // Starts the send thread. Not while a test runs. False when the system has no thread to give: the
    // failure line is written, and is Result().problem.
    bool Start(INTERFACE_INFO& info, const PingPlan& plan);
    // Ends the sending: what was sent is still decided, with the last deadlines and the grace, as if
    // all pings were sent. Returns at once; does nothing when nothing is sent any more.
    void EndSending();
    // Stops a running test, waits for its threads (they still write the statistics) and empties the
    // list. Does nothing when no ping thread exists.
    void StopPingTest();
    // At least one ping thread exists.
    bool IsRunning() const;

    // Handlers of PingThreadEnded and PingWaitThreadEnded: join the thread. Nothing when it is gone.
    void OnPingThreadEnded();
    void OnPingWaitThreadEnded();

    // Records an echo reply and writes its line. Identifier and sequence number in network order;
    // `source` is the reply's sender, `dataLength` its payload in bytes. A reply to no ping of this
    // test is dropped silently. Any monitor thread.
    void RecordReply(std::uint16_t icmpId, std::uint16_t icmpSeq, Ipv4Address source,
                     std::uint32_t dataLength, std::uint8_t timeToLive);

    // From the next test on, keep a copy of all records in the result.
    void KeepRecords(bool keep) { m_keepRecords = keep; }
    // The last test's result. Valid once the wait thread's end was handled.
    const PingTestResult& Result() const { return m_result; }

    // Copies the records from index `from` on, as far as they are still kept, for a live display. Any thread.
    PingRecords CopyPings(std::size_t from) const;
    // How many pings the test has sent so far. Any thread.
    std::size_t PingsSent() const;

private:
    // What the wait thread is waiting for, so that others wake it only when its answer would change.
    enum class Waiting { ForPings, ForDeadline, ForGrace };

    void PingThread();
    void PingWaitThread();
    void ChooseIdentifier();
    bool SendPing(std::uint16_t sequence);
    void BeginSending();
    // Returns whether the wait thread was started.
    bool SendPings();
    bool StartWaitThread();
    // What lies between two pings: the delay, or without one what lets the receiving side keep up. False
    // when the sending is to end.
    bool AwaitTurn(std::size_t sent);
    void ReportThreadFailure(std::wstring_view where, std::wstring_view which, const WorkerThread& thread);
    void WriteReplyLine(const CPing& ping, Ipv4Address source, std::uint32_t dataLength,
                        std::uint8_t timeToLive) const;
    void JoinSendThread();
    void JoinWaitThread();
    // The wait thread's pass over the list: the milliseconds to wait (0: until something happens),
    // or nothing when the test is over.
    std::optional<std::uint32_t> CheckDeadlines(std::uint32_t& graceEnd);
    bool AllSent() const;
    void ReportStatistics();
    std::uint16_t PingNumber(std::uint16_t sequence) const;

    HostNetwork& m_host;
    const RunSettings& m_run;
    ViewPort& m_view;
    INTERFACE_INFO* m_interface = nullptr;
    PingPlan m_plan;
    std::wstring m_strPingTarget;
    bool m_keepRecords = false;
    PingTestResult m_result;

    WaitDomain m_waitDomain;
    ManualResetEvent m_pingEvent{m_waitDomain};
    ManualResetEvent m_stopPingEvent{m_waitDomain};
    ManualResetEvent m_endSendingEvent{m_waitDomain};
    WaitableTimer m_pingTimer{m_waitDomain};

    // The ping list lock guards the list and what follows it here.
    mutable FairLock m_pingListLock;
    CPingList m_pingList;
    std::uint16_t m_wPingIdent = 0;
    std::uint16_t m_wPingNextSeq = 0;
    std::uint16_t m_wPingSeqBase = 0;
    bool m_identChosen = false;
    Waiting m_waiting = Waiting::ForPings;

    Pace m_pace;
    WorkerThread m_pingThread;
    // Whether the wait thread exists; it is started by the send thread and joined by another.
    std::atomic<bool> m_waitThreadExists{false};
    WorkerThread m_pingWaitThread;
    bool m_hasRoom = true;             // the send thread's: the list takes another ping
    std::vector<std::uint8_t> m_frame; // the send thread's: room for an Ethernet header, then the packet
};

} // namespace vnxtest
