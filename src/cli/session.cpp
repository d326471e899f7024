#include "cli/session.h"

#include <utility>

#include "cli/output/await_writers.h"
#include "cli/output/failure.h"
#include "cli/output/file_clash.h"
#include "cli/report/adapter_list.h"
#include "core/debug_output.h"
#include "guest/interfaces_in_use.h"
#include "ping/target.h"
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
        if (m_run) {
            m_run->Stop();
        }
        status = Finish(m_problem.Fail(DescribeFailure(failure)));
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
        return Finish(m_interruption.HasCome() ? m_problem.Fail(L"Interrupted.") : kExitSuccess);
    }
    DefineGateway();
    if (m_options.command == Command::Ping && !ResolvePingTarget()) {
        return Finish(kExitFailure);
    }
    MakeGuest();
    if (m_interruption.HasCome()) {
        return Finish(m_problem.Fail(L"Interrupted before the guest was started."));
    }
    return Finish(m_run->CarryOut());
}

bool Session::OpenFiles() {
    if (m_options.quiet || m_options.captureToOutput) {
        m_output.LeaveStreamOut();
    }
    if (m_options.outputFile) {
        if (const auto opened = m_output.OpenFile(*m_options.outputFile); !opened) {
            return m_problem.Refuse(opened.error().text);
        }
    }
    if (!m_options.jsonFile.empty()) {
        if (const auto opened = m_jsonFile->Open(m_options.jsonFile, FileAccess::Document); !opened) {
            return m_problem.Refuse(kResultsCannotBeSaved + opened.error().text);
        }
    }
    if (const std::wstring clash = FindFileClash(m_output.File(), *m_jsonFile, m_options.library);
        !clash.empty()) {
        return m_problem.Refuse(clash);
    }
    if (const std::wstring problem = m_capture.Open(m_output.File(), *m_jsonFile); !problem.empty()) {
        return m_problem.Refuse(problem);
    }
    // From here on an interrupt ends the program in order.
    auto stopSignal =
        TakeStopRequests(m_port.Queue(), {m_output.File().TemporaryPath(), m_jsonFile->TemporaryPath()});
    if (!stopSignal) {
        return m_problem.Refuse(DescribeFailure(stopSignal.error()));
    }
    m_stopSignal = std::move(*stopSignal);
    return true;
}

bool Session::OpenLibrary() {
    if (const auto opened = m_engine.Open(m_options.library); !opened) {
        return m_problem.Refuse(L"The interface library cannot be used: " + opened.error().Describe());
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
            return m_problem.Refuse(
                Sprintf(L"Interrupted while the name \"%s\" was looked up.", m_options.target));
        }
        m_feed.Drain();
    }
    const auto target = lookup.Answer();
    if (!target) {
        return m_problem.Refuse(Sprintf(L"The ping target \"%s\" cannot be used: %s", m_options.target,
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
    Guest& guest = m_engine.TheGuest();
    AnswerRunSettings(m_options, guest.Run());
    m_runProfile->TellProblem();
    if (m_options.save && m_options.debug) {
        m_engine.UserSettings().StoreDebugSettings(guest.Run());
    }
    if (m_options.save && m_options.socketNotify) {
        m_engine.UserSettings().StoreSocketNotifyMode(guest.Run());
    }
    guest.Ping().KeepRecords(true);
    m_run.emplace(GuestRun::Parts{m_options, m_port, m_interruption, m_feed, m_engine, m_capture,
                                  *m_runProfile, m_problem});
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

bool Session::SaveJson(std::string text, const std::wstring& complaint) {
    const std::wstring problem =
        WriteWhole(m_jsonFile, std::move(text), complaint, m_interruption, [this] { WakeUp(); });
    if (!problem.empty()) {
        m_problem.Fail(problem);
    }
    return problem.empty();
}

RunResults Session::Results(int status) {
    RunResults results;
    results.library = m_options.library;
    if (const VnetxLibrary* const library = m_engine.Library()) {
        results.library = library->ModuleName();
        results.whyNotThePackage = library->WhyNotThePackage();
    }
    results.command = ToWide(NameOf(m_options.command));
    results.exitStatus = status;
    results.problem = m_problem.Text();
    results.beganUnixNs = m_beganUnixNs;
    results.endedUnixNs = ClockReading::Now().unixNs;
    results.capture = m_capture.Result();
    if (!m_run) {
        return results;
    }
    results.advice = m_run->Advice();
    results.ping = m_run->PingResult();
    if (m_run->HasStarted()) {
        results.interfaces = InterfacesJson(InterfacesInUse(m_engine.TheGuest()));
    }
    return results;
}

// The last step: saves what was asked for, and tells every failure of the run.
int Session::Finish(int status) {
    if (m_runProfile && m_runProfile->FailedWrites() > 0) {
        status = m_problem.Fail(L"--save: the values could not be stored: " + m_runProfile->LastProblem());
    }
    m_output.Close();
    AwaitWriters(m_output.Writers(), m_interruption);
    if (const std::wstring problem = m_capture.End(m_interruption); !problem.empty()) {
        m_problem.Add(problem);
        status = kExitFailure;
    }
    for (const std::wstring& problem : {m_output.Problem(), m_output.LeftOut(), m_feed.LeftOutUnderWay()}) {
        if (!problem.empty()) {
            Complain(problem);
            m_problem.Add(problem);
            status = kExitFailure;
        }
    }
    if (m_jsonFile->IsOpen() && !SaveJson(RunResultsJson(Results(status)), kResultsCannotBeSaved)) {
        status = kExitFailure;
    }
    if (m_run) {
        m_run->TellOutcome(status);
    }
    return status;
}

} // namespace vnxtest
