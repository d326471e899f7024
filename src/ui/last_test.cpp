#include "ui/last_test.h"

#include "guest/interfaces_in_use.h"
#include "results/json_report.h"
#include "results/test_report.h"

namespace vnxtest {

namespace {

// As the terminal program's: empty unless its exit status would be 2.
std::wstring ProblemOf(const PingTestResult& result) {
    if (result.writeFailed) {
        return L"The ping test was broken off, for a packet could not be sent.";
    }
    if (!result.problem.empty()) {
        return L"The ping test could not be watched while it ran:\n" + result.problem;
    }
    return result.complete ? std::wstring() : L"The ping test was stopped before its first ping.";
}

} // namespace

LastTest::LastTest() : m_run(std::make_unique<RunResults>()) {}

LastTest::~LastTest() = default;

void LastTest::Keep(Engine& engine) {
    m_isThere = m_sameRun = true;
    m_result = engine.TheGuest().Ping().Result();
    *m_run = RunResults();
    m_run->library = engine.Library()->ModuleName();
    m_run->whyNotThePackage = engine.Library()->WhyNotThePackage();
    m_run->command = L"ping";
    m_run->problem = ProblemOf(m_result);
    m_run->exitStatus = !m_run->problem.empty() ? 2 : m_result.statistics.lost != 0 ? 1 : 0;
    m_run->beganUnixNs = m_result.beganUnixNs;
    m_run->endedUnixNs = m_result.endedUnixNs;
    KeepInterfaces(engine);
}

void LastTest::KeepInterfaces(Engine& engine) {
    if (m_sameRun) {
        m_run->interfaces = InterfacesJson(InterfacesInUse(engine.TheGuest()));
        m_run->advice = engine.Advice();
    }
}

std::string LastTest::AsJson() const {
    RunResults run = *m_run;
    run.ping = &m_result;
    return RunResultsJson(run);
}

std::string LastTest::AsText() const {
    return PingTestText(m_result);
}

} // namespace vnxtest
