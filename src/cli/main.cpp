// vnxtest-cli: the simulated guest in a terminal.
#include <cerrno>
#include <cstdio>
#include <exception>

#include "cli/options/options.h"
#include "cli/output/console.h"
#include "cli/output/document_output.h"
#include "cli/output/failure.h"
#include "cli/session.h"
#include "platform/process/privileges.h"
#include "platform/process/sandbox.h"
#include "platform/process/terminal.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

struct Outcome {
    int status = kExitFailure;
    bool stopped = false; // by the user
};

Outcome ShowAnswer(const OptionsAnswer& answer) {
    if (answer.isError) {
        Complain(answer.text);
        return {};
    }
    if (!WriteAll(stdout, ToUtf8(answer.text))) {
        Complain(DescribeStreamFailure(errno));
        return {};
    }
    return {kExitSuccess};
}

Outcome CarryOut(int argc, char** argv) {
    if (const auto rights = CheckRightsOfItsFile(); !rights) {
        Complain(rights.error().Describe());
        return {};
    }
    const auto parsed = ParseOptions(CommandLineWords(argc, argv));
    if (const auto* const answer = std::get_if<OptionsAnswer>(&parsed)) {
        return ShowAnswer(*answer);
    }
    Session session(std::get<Options>(parsed));
    const int status = session.Run();
    return {status, session.WasStopped()};
}

} // namespace
} // namespace vnxtest

int main(int argc, char** argv) {
    using namespace vnxtest;
    std::set_terminate(&EndAfterFailure);
    PrepareTerminal();
    PrepareSandbox();
    Outcome outcome;
    try {
        outcome = CarryOut(argc, argv);
    } catch (const std::exception& failure) {
        Complain(DescribeFailure(failure));
    }
    // After an interrupt the program does not wait for a reader of standard error.
    AwaitComplaints(outcome.stopped ? std::optional(std::chrono::milliseconds(100)) : std::nullopt);
    return outcome.status;
}
