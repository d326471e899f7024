// The guest's part of a run: started, run or pinging until it is over, stopped, and judged. Main thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "cli/advice_teller.h"
#include "cli/messages/interruption.h"
#include "cli/options/options.h"
#include "cli/output/document_feed.h"
#include "cli/run_capture.h"
#include "cli/run_problem.h"
#include "cli/run_profile.h"
#include "cli/run_rights.h"
#include "cli/terminal_port.h"
#include "guest/engine.h"

namespace vnxtest {

class GuestRun {
public:
    // What the run has beside its guest, which the engine has made. All of it outlives this.
    struct Parts {
        const Options& options;
        TerminalPort& port;
        Interruption& interruption;
        DocumentFeed& feed;
        Engine& engine;
        RunCapture& capture;
        RunProfile& profile;
        RunProblem& problem;
    };

    explicit GuestRun(const Parts& parts)
        : m_parts(parts), m_guest(parts.engine.TheGuest()), m_rights(parts.options) {}

    // Starts the guest, does what the command asks of it, and stops it. Returns the exit status. Once.
    int CarryOut();
    // Ends the guest, if it runs, with its ping test, and tells what that leaves to be told.
    void Stop();
    // The last line; of a failure that is its message.
    void TellOutcome(int status) const;

    bool HasStarted() const { return m_started; }
    // Null if no ping test was started.
    const PingTestResult* PingResult() const { return m_pingStarted ? &m_guest.Ping().Result() : nullptr; }
    // All findings, as they were when they were told last.
    const Findings& Advice() const { return m_advice.Latest(); }

private:
    using Moment = MessageQueue::Moment;

    bool StartGuest();
    int InterfacesWanted() const { return m_guest.UsesTwoInterfaces() ? 2 : 1; }
    bool WaitForInterfaces();
    bool MayGoOn() const;
    int RunGuest();
    int PingFromGuest();
    void AwaitPingTest();
    int JudgePingTest();

    // Handles the next message, or notes the interrupt or that `deadline` has passed.
    TerminalEvent Step(std::optional<Moment> deadline);
    std::optional<Moment> DurationFromNow() const;
    std::uint64_t CountAnswers() const;
    bool LookForAdvice();
    std::wstring DescribeStop() const;
    int FailStart(const std::wstring& what);
    // The answer to the user's question how it stands.
    void TellStanding() const;

    const Parts m_parts;
    Guest& m_guest;
    RunRights m_rights;
    AdviceTeller m_advice;
    bool m_started = false;
    int m_interfacesOpened = 0;
    bool m_pingStarted = false;
    bool m_endedByItself = false;
};

} // namespace vnxtest
