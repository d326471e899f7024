// Command lines, one argument a line: refused with a text, or within the ranges that are documented.
#include <string>

#include "cli/options/options.h"
#include "fuzz_input.h"
#include "vnetx/sim/sim_options.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace vnxtest;
    std::vector<std::string> arguments{""};
    for (const char c : std::string(data, data + size)) {
        if (c == '\n') {
            arguments.emplace_back();
        } else if (c != '\0') { // which no argument can hold
            arguments.back() += c;
        }
    }
    const auto parsed = ParseOptions(arguments);
    if (const auto* const answer = std::get_if<OptionsAnswer>(&parsed)) {
        Claim(!answer->text.empty(), "a refusal says why");
        return 0;
    }
    const auto& options = std::get<Options>(parsed);
    Claim(options.count != 0U || options.duration, "an endless test has a duration");
    Claim(options.count.value_or(1) <= 65535 && options.timeout.value_or(0) <= 10000, "numbers in range");
    const std::uint32_t dataSize = options.dataSize.value_or(8);
    Claim(dataSize >= 8 && dataSize <= 65507, "a size in range");
    Claim(!options.duration || options.duration->count() > 0, "a duration is one");
    Claim(options.command != Command::Ping || !options.target.empty(), "a ping has a target");
    if (options.IsSimulated() && options.library.size() > 4) {
        const auto sim = ParseSimOptions(options.library.substr(4));
        Claim(sim.has_value() || !sim.error().text.empty(), "a reason");
    }
    return 0;
}
