#include "cli/session.h"

#include <algorithm>
#include <utility>

#include "cli/output/await_writers.h"
#include "cli/output/failure.h"
#include "cli/output/file_clash.h"
#include "cli/output/live_line.h"
#include "cli/report/adapter_list.h"
#include "cli/report/json_report.h"
#include "cli/report/outcome_texts.h"
#include "cli/report/ping_progress.h"
#include "cli/report/verdict.h"
#include "core/debug_output.h"
#include "ping/target.h"
#include "platform/process/terminal.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

Session::Session(const Options& options) : m_options(options), m_port(options) {}

int Session::Run() {
    int status = kExitFailure;
    try {
        status = CarryOut();
    } catch (const std::exception& failure) {
        if (!m_stopSignal) {
            throw; // nothing has begun: existing files stay
        }
        if (m_guest != nullptr) {
            StopGuest();
        }
        status = Finish(Fail(DescribeFailure(failure)));
    }
    m_stopSignal.reset();     // from here on a request ends the program at once
    m_interruption.HasCome(); // one may have come before
    return status;
}

int Session::CarryOut() {
    if (!OpenFiles()) {
        return kExitFailure; // existing files stay
    }
    if (!OpenLibrary()) {
        return Finish(kExitFailure);
    }
    if (m_options.command == Command::Adapters) {
        return ListAdapters();
    }
    GatherHost();
    if (m_options.command == Command::Report) {
        return Finish(m_interruption.HasCome() ? Fail(L"Interrupted.") : kExitSuccess);
    }
    DefineGateway();
    if (m_options.command == Command::Ping && !ResolvePingTarget()) {
        return Finish(kExitFailure);
    }
    MakeGuest();
    if (m_interruption.HasCome()) {
        return Finish(Fail(L"Interrupted before the guest was started."));
    }
    if (!StartGuest()) {
        return Finish(kExitFailure);
    }
    return Finish(m_options.command == Command::Run ? RunGuest() : PingFromGuest());
}

bool Session::OpenFiles() {
    if (m_options.quiet || m_options.captureToOutput) {
        m_output.LeaveStreamOut();
    }
    if (m_options.outputFile) {
        if (const auto opened = m_output.OpenFile(*m_options.outputFile); !opened) {
            return Refuse(opened.error().text);
        }
    }
    if (!m_options.jsonFile.empty()) {
        if (const auto opened = m_jsonFile->Open(m_options.jsonFile, FileAccess::Document); !opened) {
            return Refuse(kResultsCannotBeSaved + opened.error().text);
        }
    }
    if (const std::wstring clash = FindFileClash(m_output.File(), *m_jsonFile, m_options.library);
        !clash.empty()) {
        return Refuse(clash);
    }
    if (const std::wstring problem = m_capture.Open(m_output.File(), *m_jsonFile); !problem.empty()) {
        return Refuse(problem);
    }
    // From here on an interrupt ends the program in order.
    auto stopSignal =
        TakeStopRequests(m_port.Queue(), {m_output.File().TemporaryPath(), m_jsonFile->TemporaryPath()});
    if (!stopSignal) {
        return Refuse(DescribeFailure(stopSignal.error()));
    }
    m_stopSignal = std::move(*stopSignal);
    return true;
}

bool Session::OpenLibrary() {
    if (const auto opened = m_engine.Open(m_options.library); !opened) {
        return Refuse(L"The interface library cannot be used: " + opened.error().Describe());
    }
    // Said without the report, too, whose banner says it: the results prove nothing about the package.
    if (const std::wstring why = m_engine.Library()->WhyNotThePackage(); !why.empty()) {
        Complain(L"warning: " + why);
    }
    return true;
}

// As the window does before its first report.
void Session::GatherHost() {
    m_feed.Attach();
    m_engine.GatherHost();
    if (IsDebugOutputRefused()) {
        Complain(
            L"warning: the interface library refused to take the program's output, so the document stays empty. Set VNXTEST_TRACE=1 in the environment to see the lines here.");
    }
    const bool nobodyReadsIt = m_options.quiet && !m_options.outputFile;
    if (m_options.noReport || nobodyReadsIt) {
        m_engine.Host().FindDefaultGateway(); // with a report, the report does this
    } else {
        m_engine.WriteReport();
    }
    m_feed.Drain();
    m_output.ForgetFailures(); // the report's failed adapters are not the reason of a later failure
}

void Session::DefineGateway() {
    if (!m_options.gateway) {
        return;
    }
    MacAddress mac;
    if (!m_engine.Host().IsIPAddrResponsive(*m_options.gateway, &mac, Ipv4Address())) {
        m_port.SetGatewayNote(Sprintf(
            L"the gateway %s does not answer ARP. It is used as entered; packets for other subnets go to the host adapter instead.",
            FormatIPAddr(*m_options.gateway)));
    }
    m_engine.Host().SetDefaultGateway(*m_options.gateway, mac);
}

bool Session::ResolvePingTarget() {
    const TargetLookup lookup(m_options.target, [this] { WakeUp(); });
    while (!lookup.IsOver()) {
        if (m_interruption.Wait(std::nullopt).event == TerminalEvent::Interrupted) {
            return Refuse(Sprintf(L"Interrupted while the name \"%s\" was looked up.", m_options.target));
        }
        m_feed.Drain();
    }
    const auto target = lookup.Answer();
    if (!target) {
        return Refuse(Sprintf(L"The ping target \"%s\" cannot be used: %s", m_options.target,
                              target.error().Describe()));
    }
    m_port.SetTarget(*target);
    return true;
}

void Session::MakeGuest() {
    m_profile = OpenGuestProfile(m_options.library);
    m_runProfile.emplace(*m_profile);
    m_port.SetSources({m_engine.Host(), *m_engine.Library(), *m_runProfile});
    m_capture.Start([this] { WakeUp(); });
    m_engine.MakeGuest(*m_runProfile, m_port);
    m_guest = &m_engine.TheGuest();
    AnswerRunSettings(m_options, m_guest->Run());
    TellProfileProblem();
    if (m_options.save && m_options.debug) {
        m_engine.UserSettings().StoreDebugSettings(m_guest->Run());
    }
    if (m_options.save && m_options.socketNotify) {
        m_engine.UserSettings().StoreSocketNotifyMode(m_guest->Run());
    }
    m_guest->Ping().KeepRecords(true);
}

bool Session::StartGuest() {
    m_guestStarted = m_guest->OnStartGuest();
    TellProfileProblem();
    m_feed.Drain();
    if (const std::wstring note = m_port.TakeGatewayNote(); !note.empty()) {
        Complain(L"warning: " + note);
    }
    if (!m_guestStarted) {
        FailStart(L"The guest could not be started:");
    }
    return m_guestStarted;
}

// Fails for a command of the guest that the options refused, or for which the system had no thread.
int Session::FailStart(const std::wstring& what) {
    const std::wstring& problem = m_guest->Problem();
    return Fail(problem.empty() ? m_port.Refusal() : what + L"\n" + problem);
}

TerminalEvent Session::Step(std::optional<Moment> deadline) {
    const TerminalMessage next = m_interruption.Wait(deadline);
    if (next.event == TerminalEvent::Asked) {
        TellStanding();
        return TerminalEvent::Message;
    }
    if (next.event != TerminalEvent::Message) {
        return next.event;
    }
    switch (next.message) {
    case ViewMessage::OutputPending:
        m_feed.DrainGathered();
        TellCaptureProblem();
        break;
    case ViewMessage::InterfaceOpened:
        if (++m_interfacesOpened == InterfacesWanted()) {
            m_rights.OnInterfacesOpened();
        }
        break;
    case ViewMessage::MonitorThreadEnded:
        m_guestEndedByItself = true;
        break;
    case ViewMessage::PingThreadEnded:
    case ViewMessage::PingWaitThreadEnded:
        break;
    }
    m_guest->HandleViewMessage(next.message);
    return next.event;
}

std::optional<Session::Moment> Session::DurationFromNow() const {
    return m_options.duration ? std::optional(std::chrono::steady_clock::now() + *m_options.duration)
                              : std::nullopt;
}

bool Session::MayGoOn() const {
    return m_guest->IsRunning() && !m_output.HasFailed() && m_rights.Problem().empty();
}

int Session::RunGuest() {
    const std::optional<Moment> end = DurationFromNow();
    m_advice.BeginWatch();
    bool goesOn = true;
    while (goesOn && MayGoOn()) { // until it is interrupted, or the duration is over
        const TerminalEvent event = Step(std::min(end.value_or(Moment::max()), m_advice.NextLook()));
        goesOn = event == TerminalEvent::Message || (event == TerminalEvent::TimedOut && LookForAdvice());
    }
    StopGuest();
    if (!m_rights.Problem().empty()) {
        return Fail(m_rights.Problem());
    }
    return m_guestEndedByItself ? Fail(DescribeStop()) : kExitSuccess;
}

bool Session::WaitForInterfaces() {
    const int wanted = InterfacesWanted();
    while (MayGoOn() && m_interfacesOpened < wanted && !m_interruption.IsNoted()) {
        Step(std::nullopt);
    }
    return m_guest->IsRunning() && m_interfacesOpened >= wanted && m_rights.Problem().empty();
}

int Session::PingFromGuest() {
    if (WaitForInterfaces()) {
        m_pingStarted = m_guest->OnTestStartPing();
        TellProfileProblem();
        if (m_pingStarted) {
            m_rights.EnterSandbox();
            AwaitPingTest();
        }
    }
    StopGuest();
    return JudgePingTest();
}

void Session::AwaitPingTest() {
    constexpr std::chrono::milliseconds kProgressInterval(200);
    std::optional<Moment> end = DurationFromNow();
    LiveLine line(!m_options.quiet);
    const PingProgress progress(m_guest->Ping(), m_guest->Ping().Plan(), end);
    Moment nextProgress = std::chrono::steady_clock::now() + kProgressInterval;
    m_advice.BeginWatch();
    while (m_guest->IsPinging()) {
        const Moment next = std::min(end.value_or(Moment::max()), m_advice.NextLook());
        const bool progressFirst = line.IsOn() && nextProgress < next;
        const TerminalEvent event = Step(progressFirst ? nextProgress : next);
        if (event == TerminalEvent::TimedOut && progressFirst) {
            nextProgress = std::chrono::steady_clock::now() + kProgressInterval;
            line.Show(progress.Line());
        } else if (event == TerminalEvent::TimedOut && LookForAdvice()) {
            continue;
        } else if (event == TerminalEvent::TimedOut) {
            m_guest->Ping().EndSending(); // the duration is over; open pings are still decided
            end.reset();
        } else if (event != TerminalEvent::Message || m_output.HasFailed()) {
            m_guest->OnTestStopPing();
        }
    }
}

int Session::JudgePingTest() {
    if (!m_pingStarted) {
        if (m_output.HasFailed()) {
            return kExitFailure; // Finish() tells why
        }
        if (m_guestEndedByItself) {
            return Fail(DescribeStop());
        }
        if (!m_rights.Problem().empty()) {
            return Fail(m_rights.Problem());
        }
        return m_interruption.IsNoted() ? Fail(L"Interrupted before the ping test began.")
                                        : FailStart(L"The ping test could not be started:");
    }
    const PingTestResult& result = m_guest->Ping().Result();
    if (result.writeFailed) {
        return Fail(DescribeWriteFailure(result.plan, m_output.LastFailureMessage()));
    }
    if (m_guestEndedByItself) {
        return Fail(DescribeStop());
    }
    if (!result.problem.empty()) {
        return Fail(L"The ping test could not be watched while it ran:\n" + result.problem);
    }
    if (!result.complete) {
        return Fail(L"The ping test was stopped before its first ping.");
    }
    if (m_interruption.IsNoted()) {
        Complain(Sprintf(L"interrupted after %u pings.", result.statistics.sent));
    }
    return result.statistics.lost == 0 ? kExitSuccess : kExitPingsLost;
}

int Session::ListAdapters() {
    m_engine.Host().GatherAdapters();
    if (!m_options.json) {
        m_output.Write(ToUtf8(AdapterTable(m_engine.Host())));
    } else if (m_options.jsonFile.empty()) {
        m_output.Write(AdapterJson(m_engine.Host()));
    } else if (!SaveJson(AdapterJson(m_engine.Host()), L"The adapters cannot be saved: ")) {
        return Finish(kExitFailure);
    }
    return Finish(kExitSuccess);
}

void Session::StopGuest() {
    m_guest->StopGuest();
    m_feed.Drain();
    for (int index = 0; index < InterfacesWanted(); ++index) {
        if (const std::wstring note = DescribeDroppedFrames(m_guest->Interface(index).counted, index);
            !note.empty()) {
            Complain(note);
            m_advice.NoteTold("capture-buffer-overflowed", index + 1); // in other words
        }
    }
    m_advice.Tell(m_engine.Advice());
}

// How many pings of the test, or requests to the guest, were answered.
std::uint64_t Session::CountAnswers() const {
    if (m_pingStarted) {
        return m_guest->Ping().FiguresSoFar(false).statistics.received;
    }
    std::uint64_t answers = 0;
    for (int index = 0; index < InterfacesWanted(); ++index) {
        answers += m_guest->Interface(index).counted.echoRequestsAnswered;
    }
    return answers;
}

// True if it was time to look for advice since nothing is answered.
bool Session::LookForAdvice() {
    if (std::chrono::steady_clock::now() < m_advice.NextLook()) {
        return false;
    }
    if (m_advice.IsQuiet(CountAnswers())) {
        m_advice.Tell(m_engine.Advice());
    }
    return true;
}

bool Session::SaveJson(std::string text, const std::wstring& complaint) {
    const std::wstring problem =
        WriteWhole(m_jsonFile, std::move(text), complaint, m_interruption, [this] { WakeUp(); });
    if (!problem.empty()) {
        Fail(problem);
    }
    return problem.empty();
}

void Session::TellProfileProblem() {
    if (const std::wstring problem = m_profile->LastProblem(); problem != m_toldProfileProblem) {
        m_toldProfileProblem = problem;
        Complain(L"warning: the profile: " + problem);
    }
}

void Session::TellCaptureProblem() {
    if (const std::wstring problem = m_capture.TakeProblem(); !problem.empty()) {
        Complain(problem);
    }
}

std::wstring Session::DescribeStop() const {
    return DescribeStoppedGuest({.library = m_options.library,
                                 .failure = m_output.LastFailureMessage(),
                                 .everOpened = m_interfacesOpened > 0,
                                 .rightsWereGone = m_rights.AreGivenUp(),
                                 .wasRefused = m_output.WasRefused()});
}

int Session::Fail(std::wstring problem) {
    constexpr std::chrono::milliseconds kMoment(50);
    m_output.Writers().front()->WaitUntilIdle(kMoment); // so that it follows the lines that it is about
    m_problem = std::move(problem);
    Complain(m_problem);
    return kExitFailure;
}

// Without all that was asked for, the run has failed; frames that a slow file has missed are a note.
int Session::EndCapture(int status) {
    m_capture.Await(m_interruption);
    TellCaptureProblem();
    if (const std::wstring note = m_capture.Note(); !note.empty()) {
        Complain(note);
    }
    const auto counts = m_capture.Counts();
    if (!counts || counts->problem.empty()) {
        return status;
    }
    m_problem += (m_problem.empty() ? L"" : L"\n") + counts->problem;
    return kExitFailure;
}

// The last step: saves what was asked for, and tells every failure of the run.
int Session::Finish(int status) {
    if (m_runProfile && m_runProfile->FailedWrites() > 0) {
        status = Fail(L"--save: the values could not be stored: " + m_profile->LastProblem());
    }
    m_output.Close();
    AwaitWriters(m_output.Writers(), m_interruption);
    status = EndCapture(status);
    for (const std::wstring& problem : {m_output.Problem(), m_output.LeftOut(), m_feed.LeftOutUnderWay()}) {
        if (!problem.empty()) {
            Complain(problem);
            m_problem += (m_problem.empty() ? L"" : L"\n") + problem;
            status = kExitFailure;
        }
    }
    if (m_jsonFile->IsOpen()) {
        RunResults results;
        results.library = m_options.library;
        if (const VnetxLibrary* const library = m_engine.Library()) {
            results.library = library->ModuleName();
            results.whyNotThePackage = library->WhyNotThePackage();
        }
        results.command = ToWide(NameOf(m_options.command));
        results.exitStatus = status;
        results.problem = m_problem;
        results.advice = m_advice.Latest();
        results.beganUnixNs = m_beganUnixNs;
        results.endedUnixNs = ClockReading::Now().unixNs;
        for (std::size_t index = 0; m_guestStarted && index < results.interfaces.size(); ++index) {
            const INTERFACE_INFO& info = m_guest->Interface(static_cast<int>(index));
            results.interfaces[index] = info.asked.NamesAdapter() ? &info : nullptr;
        }
        results.ping = m_pingStarted ? &m_guest->Ping().Result() : nullptr;
        if (!SaveJson(RunResultsJson(results), kResultsCannotBeSaved)) {
            status = kExitFailure;
        }
    }
    TellOutcome(status);
    return status;
}

void Session::TellOutcome(int status) const {
    if (status == kExitFailure || m_guest == nullptr) {
        return;
    }
    if (m_pingStarted) {
        TellVerdict(DescribePingVerdict(m_guest->Ping().Result()),
                    status == kExitSuccess ? Verdict::Good : Verdict::Bad);
    } else if (m_options.quiet || IsTerminal(stderr)) {
        TellVerdict(DescribeAnswers(m_guest->Interface(0).counted, m_guest->Interface(1).counted),
                    Verdict::Good);
    }
}

void Session::TellStanding() const {
    if (m_guest == nullptr) {
        return;
    }
    if (m_pingStarted) {
        Complain(DescribePingsSoFar(m_guest->Ping().FiguresSoFar(true)));
    } else {
        Complain(L"so far " + DescribeAnswers(m_guest->Interface(0).counted, m_guest->Interface(1).counted));
    }
}

} // namespace vnxtest
