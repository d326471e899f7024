#include "cli/session.h"

#include <algorithm>
#include <thread>

#include "cli/output/await_writers.h"
#include "cli/output/failure.h"
#include "cli/output/file_clash.h"
#include "cli/report/adapter_list.h"
#include "cli/report/json_report.h"
#include "cli/report/outcome_texts.h"
#include "core/debug_output.h"
#include "ping/target.h"
#include "platform/process/privileges.h"
#include "platform/process/sandbox.h"
#include "platform/process/terminal.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

constexpr std::chrono::milliseconds kGatherTime(5);
// Requests to stop within this time count as one.
constexpr std::chrono::milliseconds kOneRequest(15);

} // namespace

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
    if (m_options.outputFile) {
        if (const auto opened = m_output.OpenFile(*m_options.outputFile); !opened) {
            Fail(opened.error().text);
            return false;
        }
    }
    if (!m_options.jsonFile.empty()) {
        if (const auto opened = m_jsonFile->Open(m_options.jsonFile, FileAccess::Document); !opened) {
            Fail(L"The results cannot be saved: " + opened.error().text);
            return false;
        }
    }
    if (const std::wstring clash = FindFileClash(m_output.File(), *m_jsonFile, m_options.library);
        !clash.empty()) {
        Fail(clash);
        return false;
    }
    // From here on an interrupt ends the program in order.
    auto stopSignal =
        StopSignal::Begin([this, first = Moment(),
                           temporary = std::array{m_output.File().TemporaryPath(),
                                                  m_jsonFile->TemporaryPath()}](int count) mutable {
            if (count == 1) {
                first = std::chrono::steady_clock::now();
                if (IsTerminal(stderr)) {
                    Complain(L"stopping; a second interrupt ends the program at once.");
                }
                m_port.Queue().PostInterrupt();
                return;
            }
            // One request can come twice: to the program and to its process group.
            if (std::chrono::steady_clock::now() - first < kOneRequest) {
                return;
            }
            Complain(L"ended at once by a second interrupt.");
            for (const std::filesystem::path& file : temporary) {
                if (std::error_code ignored; !file.empty()) {
                    std::filesystem::remove(file, ignored);
                }
            }
            AwaitComplaints(std::chrono::milliseconds(100));
            EndProcessAtOnce(kExitFailure);
        });
    if (!stopSignal) {
        Fail(DescribeFailure(stopSignal.error()));
        return false;
    }
    m_stopSignal = std::move(*stopSignal);
    return true;
}

bool Session::OpenLibrary() {
    if (const auto opened = m_engine.Open(m_options.library); !opened) {
        Fail(L"The interface library cannot be used: " + opened.error().Describe());
        return false;
    }
    // Said without the report, too, whose banner says it: the results prove nothing about the package.
    if (const std::wstring why = m_engine.Library()->WhyNotThePackage(); !why.empty()) {
        Complain(L"warning: " + why);
    }
    return true;
}

// As the window does before its first report.
void Session::GatherHost() {
    m_channel.Attach();
    m_engine.GatherHost();
    if (IsDebugOutputRefused()) {
        Complain(
            L"warning: the interface library refused to take the program's output, so the document stays empty. Set VNXTEST_TRACE=1 in the environment to see the lines here.");
    }
    if (m_options.noReport) {
        m_engine.Host().FindDefaultGateway(); // with a report, the report does this
    } else {
        m_engine.WriteReport();
    }
    Drain();
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
            Fail(Sprintf(L"Interrupted while the name \"%s\" was looked up.", m_options.target));
            return false;
        }
        Drain();
    }
    const auto target = lookup.Answer();
    if (!target) {
        Fail(Sprintf(L"The ping target \"%s\" cannot be used: %s", m_options.target,
                     target.error().Describe()));
        return false;
    }
    m_port.SetTarget(*target);
    return true;
}

void Session::MakeGuest() {
    m_profile = OpenGuestProfile(m_options.library);
    m_runProfile.emplace(*m_profile);
    m_port.SetSources({m_engine.Host(), *m_engine.Library(), *m_runProfile});
    m_engine.MakeGuest(*m_runProfile, m_port);
    m_guest = &m_engine.TheGuest();
    RunSettings& run = m_guest->Run();
    run.driverBufferSize = m_options.driverBufferSize.value_or(run.driverBufferSize);
    run.dllBufferSize = m_options.dllBufferSize.value_or(run.dllBufferSize);
    run.socketNotifyMode = m_options.socketNotify.value_or(run.socketNotifyMode);
    if (m_options.debug) {
        run.debugMode = m_options.debug->enabled;
        run.debugFlags = m_options.debug->flags.value_or(run.debugFlags);
    }
    TellProfileProblem();
    if (m_options.save && m_options.debug) {
        m_engine.UserSettings().StoreDebugSettings(run);
    }
    if (m_options.save && m_options.socketNotify) {
        m_engine.UserSettings().StoreSocketNotifyMode(run);
    }
    m_guest->Ping().KeepRecords(m_options.json);
}

bool Session::StartGuest() {
    m_guestStarted = m_guest->OnStartGuest();
    TellProfileProblem();
    Drain();
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
    if (next.event != TerminalEvent::Message) {
        return next.event;
    }
    switch (next.message) {
    case ViewMessage::OutputPending:
        // Batches lines that follow closely: under a flood a wake-up and a write for every line would cost
        // more than the rest.
        std::this_thread::sleep_until(m_lastDrain + kGatherTime);
        Drain();
        break;
    case ViewMessage::InterfaceOpened:
        if (++m_interfacesOpened == InterfacesWanted()) {
            GiveUpWhatIsNotNeeded();
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
    return m_guest->IsRunning() && !m_output.HasFailed() && m_keptRights.empty();
}

int Session::RunGuest() {
    const std::optional<Moment> end = DurationFromNow();
    while (MayGoOn()) {
        if (Step(end) != TerminalEvent::Message) {
            break; // interrupted, or the duration is over
        }
    }
    StopGuest();
    if (!m_keptRights.empty()) {
        return Fail(m_keptRights);
    }
    return m_guestEndedByItself ? Fail(DescribeStoppedGuest()) : kExitSuccess;
}

bool Session::WaitForInterfaces() {
    const int wanted = InterfacesWanted();
    while (MayGoOn() && m_interfacesOpened < wanted && !m_interruption.IsNoted()) {
        Step(std::nullopt);
    }
    return m_guest->IsRunning() && m_interfacesOpened >= wanted && m_keptRights.empty();
}

// The guest is started once, so the rights to open an interface are not needed any more. A library from a
// file may still need rights to the network.
void Session::GiveUpWhatIsNotNeeded() {
    const bool saves = m_options.outputFile || !m_options.jsonFile.empty() || m_options.save;
    m_rightsGivenUp = true;
    const auto given = GiveUpPrivileges({.network = IsLibraryFile(m_options.library), .files = saves});
    if (!given) {
        m_keptRights = given.error().Describe();
    } else if (m_options.command == Command::Run) {
        EnterTheSandbox();
    }
}

// The last step, when the needs of the guest and of a running ping test are known. Those of a library from
// a file are not.
void Session::EnterTheSandbox() {
    const auto entered = EnterSandbox({.everything = m_options.noSandbox || IsLibraryFile(m_options.library),
                                       .files = m_options.outputFile || !m_options.jsonFile.empty()});
    if (!entered) {
        m_keptRights = entered.error().Describe();
    }
}

int Session::PingFromGuest() {
    if (WaitForInterfaces()) {
        m_pingStarted = m_guest->OnTestStartPing();
        TellProfileProblem();
        if (m_pingStarted) {
            EnterTheSandbox();
            AwaitPingTest();
        }
    }
    StopGuest();
    return JudgePingTest();
}

void Session::AwaitPingTest() {
    constexpr std::chrono::milliseconds kProgressInterval(250);
    std::optional<Moment> end = DurationFromNow();
    Progress progress;
    Moment nextProgress = std::chrono::steady_clock::now() + kProgressInterval;
    while (m_guest->IsPinging()) {
        const bool progressFirst = progress.IsOn() && (!end || nextProgress < *end);
        const TerminalEvent event = Step(progressFirst ? std::optional(nextProgress) : end);
        if (event == TerminalEvent::TimedOut && progressFirst) {
            nextProgress = std::chrono::steady_clock::now() + kProgressInterval;
            progress.Show(Sprintf(L"%u pings sent", m_guest->Ping().PingsSent()));
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
            return Fail(DescribeStoppedGuest());
        }
        if (!m_keptRights.empty()) {
            return Fail(m_keptRights);
        }
        return m_interruption.IsNoted() ? Fail(L"Interrupted before the ping test began.")
                                        : FailStart(L"The ping test could not be started:");
    }
    const PingTestResult& result = m_guest->Ping().Result();
    if (result.writeFailed) {
        return Fail(DescribeWriteFailure(result.plan, m_output.LastFailureMessage()));
    }
    if (m_guestEndedByItself) {
        return Fail(DescribeStoppedGuest());
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
    Drain();
    for (int index = 0; index < InterfacesWanted(); ++index) {
        if (const std::wstring note = DescribeDroppedFrames(m_guest->Interface(index).counted, index);
            !note.empty()) {
            Complain(note);
        }
    }
}

void Session::Drain() {
    m_output.Write(m_channel.TakePending());
    m_lastDrain = std::chrono::steady_clock::now();
    if (!m_toldLeftOut && LinesAreMissing()) {
        m_toldLeftOut = true;
        Complain(
            L"warning: the document is not taken as fast as it comes: lines are left out. The guest goes on.");
    }
}

bool Session::LinesAreMissing() {
    const std::vector<BackgroundWriter*> writers = m_output.Writers();
    return m_channel.LinesLeftOut() > 0 ||
           std::ranges::any_of(writers, [](const auto* writer) { return writer->LinesLeftOut() > 0; });
}

bool Session::SaveJson(std::string text, const std::wstring& complaint) {
    BackgroundWriter writer(WriteTo(m_jsonFile, complaint), [this] { WakeUp(); });
    writer.Append(std::make_shared<const std::string>(std::move(text)));
    writer.Close();
    AwaitWriters({&writer}, m_interruption);
    if (!writer.Problem().empty()) {
        Fail(writer.Problem());
    } else if (writer.LinesLeftOut() > 0) {
        Fail(complaint + L"nobody reads them.");
    }
    return writer.Problem().empty() && writer.LinesLeftOut() == 0;
}

void Session::TellProfileProblem() {
    const std::wstring problem = m_profile->LastProblem();
    if (problem != m_toldProfileProblem) {
        m_toldProfileProblem = problem;
        Complain(L"warning: the profile: " + problem);
    }
}

std::wstring Session::DescribeStoppedGuest() const {
    std::wstring text = m_interfacesOpened == 0 ? L"The guest could not be started"
                                                : L"The guest has stopped because an interface failed";
    text += m_output.LastFailureMessage().empty() ? L"." : L":\n" + m_output.LastFailureMessage();
    const bool tun = EqualNoCase(m_options.library, L"tun");
    const bool capture = EqualNoCase(m_options.library, L"pcap") || EqualNoCase(m_options.library, L"auto");
    const Privilege needed = tun ? Privilege::NetworkAdministration : Privilege::Capture;
    if ((tun || capture) && !m_rightsGivenUp && !m_output.WasRefused() && !MayOpen(needed)) {
        return text + L"\n" + HowToGrant(needed);
    }
    return text +
           L"\nThe lines above it in the document tell the whole story; \"vnxtest-cli adapters\" shows which adapters there are and whether they are connected.";
}

// A sentence about lines left out while the main thread was blocked.
std::wstring Session::LeftOutUnderWay() {
    const std::uint64_t count = m_channel.LinesLeftOut();
    return count == 0
               ? std::wstring()
               : Sprintf(L"%u lines came faster than they could be taken, and are missing in the document.",
                         count);
}

int Session::Fail(std::wstring problem) {
    constexpr std::chrono::milliseconds kMoment(50);
    m_output.Writers().front()->WaitUntilIdle(kMoment); // so that it follows the lines that it is about
    m_problem = std::move(problem);
    Complain(m_problem);
    return kExitFailure;
}

// The last step: saves what was asked for, and tells every failure of the run.
int Session::Finish(int status) {
    if (m_runProfile && m_runProfile->FailedWrites() > 0) {
        status = Fail(L"--save: the values could not be stored: " + m_profile->LastProblem());
    }
    m_output.Close();
    AwaitWriters(m_output.Writers(), m_interruption);
    for (const std::wstring& problem : {m_output.Problem(), m_output.LeftOut(), LeftOutUnderWay()}) {
        if (!problem.empty()) {
            Complain(problem);
            m_problem += (m_problem.empty() ? L"" : L"\n") + problem;
            status = kExitFailure;
        }
    }
    if (m_jsonFile->IsOpen()) {
        RunResults results;
        results.library =
            m_engine.Library() != nullptr ? m_engine.Library()->ModuleName() : m_options.library;
        results.whyNotThePackage =
            m_engine.Library() != nullptr ? m_engine.Library()->WhyNotThePackage() : std::wstring();
        results.command = ToWide(NameOf(m_options.command));
        results.exitStatus = status;
        results.problem = m_problem;
        for (std::size_t index = 0; m_guestStarted && index < results.interfaces.size(); ++index) {
            const INTERFACE_INFO& info = m_guest->Interface(static_cast<int>(index));
            results.interfaces[index] = info.asked.NamesAdapter() ? &info : nullptr;
        }
        results.ping = m_pingStarted ? &m_guest->Ping().Result() : nullptr;
        if (!SaveJson(RunResultsJson(results), L"The results cannot be saved: ")) {
            status = kExitFailure;
        }
    }
    return status;
}

} // namespace vnxtest
