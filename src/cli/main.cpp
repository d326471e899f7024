// vnxtest-cli: the simulated guest in a terminal.
#include <cstdio>

#include "cli/console.h"
#include "cli/options.h"
#include "cli/session.h"
#include "platform/terminal.h"
#include "wrenlib/text.h"

int main(int argc, char** argv) {
    using namespace vnxtest;
    PrepareTerminal();
    const auto parsed = ParseOptions(CommandLineWords(argc, argv));
    if (const auto* const answer = std::get_if<OptionsAnswer>(&parsed)) {
        if (answer->isError) {
            Complain(answer->text);
            return kExitFailure;
        }
        DocumentOutput output(stdout);
        output.Write(ToUtf8(answer->text));
        return output.HasFailed() ? kExitFailure : kExitSuccess;
    }
    return Session(std::get<Options>(parsed)).Run();
}
