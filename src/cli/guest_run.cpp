#include "cli/guest_run.h"

#include <algorithm>

#include "cli/output/console.h"
#include "cli/output/live_line.h"
#include "cli/report/outcome_texts.h"
#include "cli/report/ping_progress.h"
#include "cli/report/verdict.h"
#include "platform/process/terminal.h"
#include "wrenlib/format.h"

namespace vnxtest {

int GuestRun::CarryOut() {
    if (!StartGuest()) {
        return kExitFailure;
    }
    return m_parts.options.command == Command::Run ? RunGuest() : PingFromGuest();
}

bool GuestRun::StartGuest() {
    m_started = m_guest.OnStartGuest();
    m_parts.profile.TellProblem();
    m_parts.feed.Drain();
    if (const std::wstring note = m_parts.port.TakeGatewayNote(); !note.empty()) {
        Complain(L"warning: " + note);
    }
    if (!m_started) {
        FailStart(L"The guest could not be started:");
    }
    return m_started;
}

// Fails for a command of the guest that the options refused, or for which the system had no thread.
int GuestRun::FailStart(const std::wstring& what) {
    const std::wstring& problem = m_guest.Problem();
    return m_parts.problem.Fail(problem.empty() ? m_parts.port.Refusal() : what + L"\n" + problem);
}

TerminalEvent GuestRun::Step(std::optional<Moment> deadline) {
    const TerminalMessage next = m_parts.interruption.Wait(deadline);
    if (next.event == TerminalEvent::Asked) {
        TellStanding();
        return TerminalEvent::Message;
    }
    if (next.event != TerminalEvent::Message) {
        return next.event;
    }
    switch (next.message) {
    case ViewMessage::OutputPending:
        m_parts.feed.DrainGathered();
        m_parts.capture.TellProblem();
        break;
    case ViewMessage::InterfaceOpened:
        if (++m_interfacesOpened == InterfacesWanted()) {
            m_rights.OnInterfacesOpened();
        }
        break;
    case ViewMessage::MonitorThreadEnded:
        m_endedByItself = true;
        break;
    case ViewMessage::PingThreadEnded:
    case ViewMessage::PingWaitThreadEnded:
        break;
    }
    m_guest.HandleViewMessage(next.message);
    return next.event;
}

std::optional<GuestRun::Moment> GuestRun::DurationFromNow() const {
    return m_parts.options.duration
               ? std::optional(std::chrono::steady_clock::now() + *m_parts.options.duration)
               : std::nullopt;
}

bool GuestRun::MayGoOn() const {
    return m_guest.IsRunning() && !m_parts.feed.Output().HasFailed() && m_rights.Problem().empty();
}

int GuestRun::RunGuest() {
    const std::optional<Moment> end = DurationFromNow();
    m_advice.BeginWatch();
    bool goesOn = true;
    while (goesOn && MayGoOn()) { // until it is interrupted, or the duration is over
        const TerminalEvent event = Step(std::min(end.value_or(Moment::max()), m_advice.NextLook()));
        goesOn = event == TerminalEvent::Message || (event == TerminalEvent::TimedOut && LookForAdvice());
    }
    Stop();
    if (!m_rights.Problem().empty()) {
        return m_parts.problem.Fail(m_rights.Problem());
    }
    return m_endedByItself ? m_parts.problem.Fail(DescribeStop()) : kExitSuccess;
}

bool GuestRun::WaitForInterfaces() {
    const int wanted = InterfacesWanted();
    while (MayGoOn() && m_interfacesOpened < wanted && !m_parts.interruption.IsNoted()) {
        Step(std::nullopt);
    }
    return m_guest.IsRunning() && m_interfacesOpened >= wanted && m_rights.Problem().empty();
}

int GuestRun::PingFromGuest() {
    if (WaitForInterfaces()) {
        m_pingStarted = m_guest.OnTestStartPing();
        m_parts.profile.TellProblem();
        if (m_pingStarted) {
            m_rights.EnterSandbox();
            AwaitPingTest();
        }
    }
    Stop();
    return JudgePingTest();
}

void GuestRun::AwaitPingTest() {
    constexpr std::chrono::milliseconds kProgressInterval(200);
    std::optional<Moment> end = DurationFromNow();
    LiveLine line(!m_parts.options.quiet);
    const PingProgress progress(m_guest.Ping(), m_guest.Ping().Plan(), end);
    Moment nextProgress = std::chrono::steady_clock::now() + kProgressInterval;
    m_advice.BeginWatch();
    while (m_guest.IsPinging()) {
        const Moment next = std::min(end.value_or(Moment::max()), m_advice.NextLook());
        const bool progressFirst = line.IsOn() && nextProgress < next;
        const TerminalEvent event = Step(progressFirst ? nextProgress : next);
        if (event == TerminalEvent::TimedOut && progressFirst) {
            nextProgress = std::chrono::steady_clock::now() + kProgressInterval;
            line.Show(progress.Line());
        } else if (event == TerminalEvent::TimedOut && LookForAdvice()) {
            continue;
        } else if (event == TerminalEvent::TimedOut) {
            m_guest.Ping().EndSending(); // the duration is over; open pings are still decided
            end.reset();
        } else if (event != TerminalEvent::Message || m_parts.feed.Output().HasFailed()) {
            m_guest.OnTestStopPing();
        }
    }
}

int GuestRun::JudgePingTest() {
    if (!m_pingStarted) {
        if (m_parts.feed.Output().HasFailed()) {
            return kExitFailure; // Finish() tells why
        }
        if (m_endedByItself) {
            return m_parts.problem.Fail(DescribeStop());
        }
        if (!m_rights.Problem().empty()) {
            return m_parts.problem.Fail(m_rights.Problem());
        }
        return m_parts.interruption.IsNoted()
                   ? m_parts.problem.Fail(L"Interrupted before the ping test began.")
                   : FailStart(L"The ping test could not be started:");
    }
    const PingTestResult& result = m_guest.Ping().Result();
    if (result.writeFailed) {
        return m_parts.problem.Fail(
            DescribeWriteFailure(result.plan, m_parts.feed.Output().LastFailureMessage()));
    }
    if (m_endedByItself) {
        return m_parts.problem.Fail(DescribeStop());
    }
    if (!result.problem.empty()) {
        return m_parts.problem.Fail(L"The ping test could not be watched while it ran:\n" + result.problem);
    }
    if (!result.complete) {
        return m_parts.problem.Fail(L"The ping test was stopped before its first ping.");
    }
    if (m_parts.interruption.IsNoted()) {
        Complain(Sprintf(L"interrupted after %u pings.", result.statistics.sent));
    }
    return result.statistics.lost == 0 ? kExitSuccess : kExitPingsLost;
}

void GuestRun::Stop() {
    m_guest.StopGuest();
    m_parts.feed.Drain();
    for (int index = 0; index < InterfacesWanted(); ++index) {
        if (const std::wstring note = DescribeDroppedFrames(m_guest.Interface(index).counted, index);
            !note.empty()) {
            Complain(note);
            m_advice.NoteTold("capture-buffer-overflowed", index + 1); // in other words
        }
    }
    m_advice.Tell(m_parts.engine.Advice());
}

// How many pings of the test, or requests to the guest, were answered.
std::uint64_t GuestRun::CountAnswers() const {
    if (m_pingStarted) {
        return m_guest.Ping().FiguresSoFar(false).statistics.received;
    }
    std::uint64_t answers = 0;
    for (int index = 0; index < InterfacesWanted(); ++index) {
        answers += m_guest.Interface(index).counted.echoRequestsAnswered;
    }
    return answers;
}

// True if it was time to look for advice since nothing is answered.
bool GuestRun::LookForAdvice() {
    if (std::chrono::steady_clock::now() < m_advice.NextLook()) {
        return false;
    }
    if (m_advice.IsQuiet(CountAnswers())) {
        m_advice.Tell(m_parts.engine.Advice());
    }
    return true;
}

std::wstring GuestRun::DescribeStop() const {
    return DescribeStoppedGuest({.library = m_parts.options.library,
                                 .failure = m_parts.feed.Output().LastFailureMessage(),
                                 .everOpened = m_interfacesOpened > 0,
                                 .rightsWereGone = m_rights.AreGivenUp(),
                                 .wasRefused = m_parts.feed.Output().WasRefused()});
}

void GuestRun::TellOutcome(int status) const {
    if (status == kExitFailure) {
        return;
    }
    if (m_pingStarted) {
        TellVerdict(DescribePingVerdict(m_guest.Ping().Result()),
                    status == kExitSuccess ? Verdict::Good : Verdict::Bad);
    } else if (m_parts.options.quiet || IsTerminal(stderr)) {
        TellVerdict(DescribeAnswers(m_guest.Interface(0).counted, m_guest.Interface(1).counted),
                    Verdict::Good);
    }
}

void GuestRun::TellStanding() const {
    if (m_pingStarted) {
        Complain(DescribePingsSoFar(m_guest.Ping().FiguresSoFar(true)));
    } else {
        Complain(L"so far " + DescribeAnswers(m_guest.Interface(0).counted, m_guest.Interface(1).counted));
    }
}

} // namespace vnxtest
