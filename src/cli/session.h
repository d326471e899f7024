// One run of the terminal program, from the command line to the exit status.
//
// The members are destroyed in the opposite order: the engine before what it writes to and reads from. Main
// thread.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <utility>

#include "cli/advice_teller.h"
#include "cli/messages/interruption.h"
#include "cli/options/options.h"
#include "cli/output/console.h"
#include "cli/output/document_feed.h"
#include "cli/run_capture.h"
#include "cli/run_profile.h"
#include "cli/run_rights.h"
#include "cli/stop_requests.h"
#include "cli/terminal_port.h"
#include "guest/engine.h"
#include "ping/round_trip.h"
#include "platform/files/atomic_file.h"
#include "platform/files/profile.h"

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
    using Moment = MessageQueue::Moment;

    // Each returns false if the command ends here; Fail() has told why.
    bool OpenFiles();
    bool OpenLibrary();
    bool ResolvePingTarget();
    bool StartGuest();
    int InterfacesWanted() const { return m_guest->UsesTwoInterfaces() ? 2 : 1; }
    bool WaitForInterfaces();
    bool MayGoOn() const;

    void GatherHost();
    void DefineGateway();
    void MakeGuest();

    int ListAdapters();
    int RunGuest();
    int PingFromGuest();
    void AwaitPingTest();
    int JudgePingTest();

    int CarryOut();

    // False if it could not be saved; Fail() has told why, beginning with `complaint`.
    bool SaveJson(std::string text, const std::wstring& complaint);

    // Handles the next message, or notes the interrupt or that `deadline` has passed.
    TerminalEvent Step(std::optional<Moment> deadline);
    std::optional<Moment> DurationFromNow() const;
    void StopGuest();
    std::uint64_t CountAnswers() const;
    bool LookForAdvice();
    void TellProfileProblem();
    void TellCaptureProblem();
    std::wstring DescribeStop() const;
    // Any message makes the main thread check its state. Any thread.
    void WakeUp() { m_port.Queue().Post(ViewMessage::OutputPending); }
    int Fail(std::wstring problem);
    // Fail() for a step that returns whether the command goes on: false.
    bool Refuse(std::wstring problem) {
        Fail(std::move(problem));
        return false;
    }
    int FailStart(const std::wstring& what);
    int EndCapture(int status);
    int Finish(int status);
    // The last line; of a failure that is its message.
    void TellOutcome(int status) const;
    // The answer to the user's question how it stands.
    void TellStanding() const;

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
    Engine m_engine;
    RunCapture m_capture{m_options, m_engine};
    Guest* m_guest = nullptr; // once it is made
    bool m_guestStarted = false;
    int m_interfacesOpened = 0;
    RunRights m_rights{m_options};
    bool m_pingStarted = false;
    bool m_guestEndedByItself = false;
    std::wstring m_toldProfileProblem;
    AdviceTeller m_advice;
    std::wstring m_problem;
};

} // namespace vnxtest
