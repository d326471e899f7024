// One run of the terminal program, from the command line to the exit status.
//
// The members are destroyed in the opposite order: the engine before what it writes to and reads from. Main
// thread.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "cli/guest_run.h"
#include "cli/messages/interruption.h"
#include "cli/options/options.h"
#include "cli/output/console.h"
#include "cli/output/document_feed.h"
#include "cli/run_capture.h"
#include "cli/run_problem.h"
#include "cli/run_profile.h"
#include "cli/stop_requests.h"
#include "cli/terminal_port.h"
#include "guest/engine.h"
#include "ping/round_trip.h"
#include "platform/files/atomic_file.h"
#include "platform/files/profile.h"
#include "results/json_report.h"

namespace vnxtest {

class Session {
public:
    explicit Session(const Options& options);
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Carries out the command and returns the exit status. Once.
    int Run();
    // True if the user wanted the program to stop. After Run().
    bool WasStopped() const { return m_interruption.IsNoted(); }

private:
    // Each returns false if the command ends here; the problem is told.
    bool OpenFiles();
    bool OpenLibrary();
    bool ResolvePingTarget();

    void GatherHost();
    void DefineGateway();
    void MakeGuest();
    int ListAdapters();
    int CarryOut();
    int Finish(int status);
    RunResults Results(int status);
    // False if it could not be saved; that is told, beginning with `complaint`.
    bool SaveJson(std::string text, const std::wstring& complaint);
    // Any message makes the main thread check its state. Any thread.
    void WakeUp() { m_port.Queue().Post(ViewMessage::OutputPending); }

    const Options& m_options;
    const std::int64_t m_beganUnixNs = ClockReading::Now().unixNs;
    TerminalPort m_port;
    Interruption m_interruption{m_port.Queue()};
    DocumentFeed m_feed{m_port, [this] { WakeUp(); }};
    DocumentOutput& m_output = m_feed.Output();
    std::shared_ptr<AtomicFile> m_jsonFile = std::make_shared<AtomicFile>();
    std::unique_ptr<StopSignal> m_stopSignal;
    std::unique_ptr<Profile> m_profile;
    std::optional<RunProfile> m_runProfile;
    RunProblem m_problem{m_output};
    Engine m_engine;
    RunCapture m_capture{m_options, m_engine};
    std::optional<GuestRun> m_run; // once there is a guest
};

} // namespace vnxtest
