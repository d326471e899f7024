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
#include <vector>

#include "core/interface_info.h"
#include "core/view_port.h"
#include "core/worker_thread.h"
#include "hostnet/host_network.h"
#include "ping/ping_list.h"
#include "wrenlib/address.h"
#include "wrenlib/fair_lock.h"
#include "wrenlib/wait.h"

namespace vnxtest {

struct PingParameters {
    Ipv4Address target;
    std::wstring targetName;     // as typed
    std::uint32_t dataSize = 32; // payload bytes
    std::uint32_t numPings = 3;  // 0: until stopped
    std::uint32_t timeout = 500; // milliseconds
    std::uint32_t delay = 1000;  // milliseconds
};

// The figures of the statistics block.
struct PingStatistics {
    std::uint32_t sent = 0;
    std::uint32_t received = 0;
    std::uint32_t timeouts = 0;
    std::uint32_t duplicates = 0;
    std::uint32_t lost = 0;
    std::uint32_t minimum = 0; // milliseconds
    std::uint32_t maximum = 0;
    std::uint32_t average = 0;
    std::uint32_t lossPercent = 0;
};

// Counts the records of a list.
PingStatistics ComputePingStatistics(const CPingList& list);

// What a finished test leaves for others to read.
struct PingTestResult {
    bool complete = false;    // statistics were written
    bool writeFailed = false; // a packet could not be written: the test was broken off
    std::wstring target;      // as shown in the messages
    std::wstring targetIp;
    PingParameters parameters;
    std::uint16_t sequenceBase = 0;
    PingStatistics statistics;
    std::vector<CPing> pings; // only when kept (KeepRecords)
};

class PingTest {
public:
    PingTest(HostNetwork& host, ViewPort& view);
    ~PingTest();
    PingTest(const PingTest&) = delete;
    PingTest& operator=(const PingTest&) = delete;

    // Empties the list. The first step of the start command.
    void ClearPings();
    // Starts the send thread. Not while a test runs.
    void Start(INTERFACE_INFO& info, const PingParameters& parameters);
    // Ends the sending: what was sent is still decided, with the last deadlines and the grace, as if
    // all pings were sent. Returns at once; does nothing when nothing is sent any more.
    void EndSending();
    // Stops a running test, waits for its threads (they still write the statistics) and empties the
    // list. Does nothing when no ping thread exists.
    void StopPingTest();
    // At least one ping thread exists.
    bool IsRunning() const;
    // The wait thread alone exists: all pings are sent, the last deadlines are waited for.
    bool IsDraining() const;

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

    // Copies the records from index `from` on, for a live display. Any thread.
    std::vector<CPing> CopyPings(std::size_t from) const;

private:
    // What the wait thread is waiting for, so that others wake it only when its answer would change.
    enum class Waiting { ForPings, ForDeadline, ForGrace };
    // How a sender without a delay keeps pace with the receiving side; in pings.
    struct Pace {
        std::size_t window = 0; // so many may be open
        std::size_t sent = 0;
        std::size_t writtenOff = 0; // up to here, no more waited for
        std::size_t most = 0;       // open at a time, since so many were done:
        std::size_t mostSince = 0;
    };

    void PingThread();
    void PingWaitThread();
    void ChooseIdentifier();
    bool SendPing(std::uint16_t sequence);
    void StartWaitThread();
    // Without a delay, lets the receiving side catch up. False when the sending is to end.
    bool PaceSender(Pace& pace);
    void NoteDone(CPingList::Position position);
    void JoinSendThread();
    void JoinWaitThread();
    // The wait thread's pass over the list: the milliseconds to wait (0: until something happens),
    // or nothing when the test is over.
    std::optional<std::uint32_t> CheckDeadlines(std::uint32_t& graceEnd);
    bool AllSent() const;
    void ReportStatistics();
    std::uint16_t PingNumber(std::uint16_t sequence) const;

    HostNetwork& m_host;
    ViewPort& m_view;
    INTERFACE_INFO* m_interface = nullptr;
    PingParameters m_parameters;
    std::wstring m_strPingTargetIP;
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
    // Up to here the test's pings are done with, for the pace of the sender, which reads it without the lock.
    std::atomic<std::size_t> m_done{0};

    WorkerThread m_pingThread;
    // Whether the wait thread exists; it is started by the send thread and joined by another.
    std::atomic<bool> m_waitThreadExists{false};
    WorkerThread m_pingWaitThread;
    std::vector<std::uint8_t> m_frame; // the send thread's: room for an Ethernet header, then the packet
};

} // namespace vnxtest
