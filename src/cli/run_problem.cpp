#include "cli/run_problem.h"

#include <chrono>
#include <utility>

#include "cli/output/console.h"
#include "cli/output/failure.h"

namespace vnxtest {

int RunProblem::Fail(std::wstring problem) {
    constexpr std::chrono::milliseconds kMoment(50);
    m_output.Writers().front()->WaitUntilIdle(kMoment); // so that it follows the lines that it is about
    m_text = std::move(problem);
    Complain(m_text);
    return kExitFailure;
}

void RunProblem::Add(const std::wstring& problem) {
    m_text += (m_text.empty() ? L"" : L"\n") + problem;
}

} // namespace vnxtest
