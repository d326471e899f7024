// The simulated guest: the object that both front ends hold.
//
// It owns the two interface records, the monitor threads and the ping test, and carries out the commands
// "Start "Vantor"...", "Stop "Vantor"", "Start ping test..." and "Stop ping test". User-interface thread;
// StopGuest and OnTestStopPing block it until the threads have ended.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "advice/ping_course.h"
#include "core/interface_info.h"
#include "core/run_settings.h"
#include "core/worker_thread.h"
#include "guest/front_end.h"
#include "hostnet/host_network.h"
#include "ping/ping_test.h"
#include "ping/receive_path.h"
#include "settings/settings.h"
#include "wrenlib/wait.h"

namespace vnxtest {

class Guest {
public:
    // Reads the debug settings. All arguments must outlive the guest.
    Guest(VnetxLibrary& library, HostNetwork& host, Settings& settings, FrontEnd& frontEnd);
    // Stops the ping test and the guest.
    ~Guest();
    Guest(const Guest&) = delete;
    Guest& operator=(const Guest&) = delete;

    // Handles a posted message; OutputPending is left to the front end.
    void HandleViewMessage(ViewMessage message);

    // "Start "Vantor"...": parameters, pre-start checks, start. True if the guest runs afterwards; false if
    // the user cancelled or, with a Problem(), if the system had no thread to give.
    bool OnStartGuest();
    // "Stop "Vantor"", and the answer to a monitor thread's end.
    void StopGuest();
    // True if a monitor thread exists.
    bool IsRunning() const;

    // "Start ping test...": asks whom to ping and starts. True if a test was started; false as above.
    bool OnTestStartPing();
    // "Stop ping test".
    void OnTestStopPing();
    // True if a ping thread exists.
    bool IsPinging() const { return m_pingTest.IsRunning(); }

    // Why the last of the two start commands failed, as in the document; empty if it did not, or was
    // cancelled.
    const std::wstring& Problem() const { return m_problem; }

    RunSettings& Run() { return m_run; }
    const INTERFACE_INFO& Interface(int index) const { return m_interfaces[static_cast<std::size_t>(index)]; }
    // The use of the second interface, as last confirmed.
    bool UsesTwoInterfaces() const { return m_useTwoInterfaces; }
    PingTest& Ping() { return m_pingTest; }
    const PingTest& Ping() const { return m_pingTest; }
    // The last few ping tests of which something was answered, without the present one.
    const std::vector<EarlierPings>& EarlierTests() const { return m_earlierPings; }
    // The interface of the last ping test: 0 or 1.
    int PingsFrom() const { return m_pingFromInterface1 ? 0 : 1; }
    HostNetwork& Host() { return m_host; }

    // What there is to know of a run for those who judge it (guest/observe.h).

    // What the library has noticed of the interface's wire so far, or in its last run, and what the guest has
    // heard itself; nullopt if there is neither.
    std::optional<WireFacts> NoticedOnWire(int index) const;
    // Of the last ping test; 0.0.0.0: there was none.
    Ipv4Address PingTarget() const { return m_pinged; }
    // Whether the adapter of the interface cut large sends itself when the guest was started.
    bool HadLargeSendOffload(int index) const { return m_largeSendOffload[static_cast<std::size_t>(index)]; }
    const HostNetwork& Host() const { return m_host; }

private:
    bool AskAndApplyParameters();
    void Prepare(INTERFACE_INFO& info);
    bool MayStart();
    bool MayStartBesideHost();
    bool AskProceed(const ProceedQuestion& question);
    bool Start();
    bool StartMonitorThread(std::size_t index);
    void KeepOutcome();

    VnetxLibrary& m_library;
    HostNetwork& m_host;
    Settings& m_settings;
    FrontEnd& m_frontEnd;
    RunSettings m_run;
    std::array<INTERFACE_INFO, 2> m_interfaces;
    bool m_useTwoInterfaces = false;
    PingPlan m_pingPlan;
    bool m_pingFromInterface1 = true;
    std::vector<EarlierPings> m_earlierPings;
    Ipv4Address m_pinged;
    std::array<bool, 2> m_largeSendOffload{};
    std::wstring m_problem;
    WaitDomain m_waitDomain;
    ManualResetEvent m_stopEvent{m_waitDomain};
    PacketWriter m_writer;
    PingTest m_pingTest;
    ReceivePath m_receivePath;
    std::array<WorkerThread, 2> m_monitorThreads;
};

} // namespace vnxtest
