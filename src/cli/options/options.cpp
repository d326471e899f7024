#include "cli/options/options.h"

#include <algorithm>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "cli/options/grammar.h"
#include "cli/options/help.h"
#include "cli/options/nearest_name.h"
#include "cli/options/value_parsing.h"
#include "core/ping_plan.h"
#include "core/run_settings.h"
#include "platform/process/sandbox.h"
#include "vnetx/library.h"
#include "wrenlib/product.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

std::optional<std::uint32_t> Number(const char* option, const std::string& text, const NumberRange& range,
                                    const char* unit) {
    return text.empty() ? std::nullopt : std::optional(ParseNumberOption(option, text, range, unit));
}

InterfaceOptions CheckInterface(const TypedOptions& raw, std::size_t index) {
    const std::string suffix = index == 0 ? "" : "2";
    InterfaceOptions options;
    if (!raw.guestIp[index].empty()) {
        options.guestIp = FormatIPAddr(ParseIpOption("--guest-ip" + suffix, raw.guestIp[index]));
    }
    if (!raw.guestMac[index].empty()) {
        options.guestMac = FormatMACAddr(ParseMacOption("--guest-mac" + suffix, raw.guestMac[index]));
    }
    if (!raw.mode[index].empty()) {
        options.tapMode = ParseModeOption("--mode" + suffix, raw.mode[index]);
    }
    if (!raw.adapter[index].empty()) {
        options.adapter = TrimBlanks(FromUtf8(raw.adapter[index]));
    }
    return options;
}

void CheckPing(const TypedOptions& raw, Options& options) {
    options.target = TrimBlanks(FromUtf8(raw.target));
    if (options.command == Command::Ping && options.target.empty()) {
        throw OptionError("ping: name the TARGET, a host name or an IPv4 address: vnxtest-cli ping TARGET");
    }
    options.count = Number("--count", raw.count, {0, kPingCountRange.highest}, "pings");
    if (options.count == 0U && !options.duration) {
        throw OptionError(fmt::format(
            "--count: 0 means \"until stopped\" and is taken together with --duration only; otherwise {} to {}.",
            kPingCountRange.lowest, kPingCountRange.highest));
    }
    options.dataSize = Number("--size", raw.size, kPingSizeRange, "bytes");
    options.timeout = Number("--timeout", raw.timeout, kPingTimeoutRange, "milliseconds");
    options.delay = Number("--delay", raw.delay, kPingDelayRange, "milliseconds");
    if (const auto from = Number("--from", raw.from, {1, 2}, "")) {
        options.fromInterface = static_cast<int>(*from);
    }
}

void CheckFiles(const CLI::App& app, const TypedOptions& raw, Options& options) {
    const auto path = [](const char* option, const std::string& text) {
        if (text == "-") {
            throw OptionError(std::string(option) +
                              ": standard output already carries the document; name a file.");
        }
        return std::filesystem::path(std::u8string(text.begin(), text.end()));
    };
    if (!raw.output.empty()) {
        options.outputFile = path("--output", raw.output);
    }
    options.json = app.count("--json") > 0;
    if (options.json && !raw.json.empty() && !(raw.json == "-" && options.command == Command::Adapters)) {
        options.jsonFile = path("--json", raw.json);
    }
    if (options.json && options.jsonFile.empty() && options.command != Command::Adapters) {
        throw OptionError("--json: name the file to write: --json FILE.");
    }
    options.captureToOutput = raw.capture == "-";
    if (options.captureToOutput && !options.outputFile && !options.quiet) {
        throw OptionError(
            "--capture -: standard output already carries the document; add -q, which leaves that out, or --output FILE, so that it goes there alone, or capture into a file.");
    }
    if (!raw.capture.empty() && !options.captureToOutput) {
        options.captureFile = path("--capture", raw.capture);
    }
}

Options CheckValues(const CLI::App& app, const TypedOptions& raw, Command command) {
    for (const Belonging& belonging : Belongings()) {
        if (app.count(belonging.option) > 0 &&
            std::ranges::find(belonging.commands, command) == belonging.commands.end()) {
            throw OptionError(std::string(belonging.option) + " has no effect with the command " +
                              NameOf(command) + ".");
        }
    }
    for (const CLI::Option* option : app.get_options()) {
        const bool takesValue = option->get_expected_min() > 0;
        if (takesValue && option->count() > 0 && option->as<std::string>().empty()) {
            throw OptionError(option->get_name() + ": the value is empty.");
        }
    }
    Options options;
    options.command = command;
    options.library = FromUtf8(raw.library);
    options.interface1 = CheckInterface(raw, 0);
    options.interface2 = CheckInterface(raw, 1);
    if (!raw.gateway.empty()) {
        options.gateway = ParseIpOption("--gateway", raw.gateway);
    }
    if (!raw.duration.empty()) {
        options.duration = ParseSecondsOption("--duration", raw.duration);
    }
    if (const auto size = Number("--driver-buffer", raw.driverBuffer, kDriverBufferRange, "Kbytes")) {
        options.driverBufferSize = *size * kKilo;
    }
    if (const auto size = Number("--dll-buffer", raw.dllBuffer, kDllBufferRange, "Kbytes")) {
        options.dllBufferSize = *size * kKilo;
    }
    if (app.count("--socket-notify") > 0) {
        options.socketNotify = raw.socketNotify;
    }
    if (app.count("--debug") > 0) {
        options.debug = DebugOptions{raw.debug != "false", std::nullopt};
        if (options.debug->enabled && raw.debug != kDebugDefault) {
            options.debug->flags = ParseDebugFlagsOption("--debug", raw.debug);
        }
    }
    options.proceed = raw.proceed;
    options.noReport = raw.noReport;
    options.quiet = raw.quiet;
    options.save = raw.save;
    options.noSandbox = raw.noSandbox;
    if (options.noSandbox && !HasSandbox()) {
        throw OptionError("--no-sandbox has no effect on this system: there is no filter of system calls.");
    }
    CheckPing(raw, options);
    CheckFiles(app, raw, options);
    return options;
}

OptionsAnswer Refusal(const std::string& text) {
    return {FromUtf8(text) + L"\nvnxtest-cli --help shows the options and commands.", true};
}

// Names the first option that does not exist, and the one that may have been meant, out of those that have an
// effect. Nullopt if they all exist: what was not expected is an argument then.
std::optional<std::string> DescribeUnknownOption(const CLI::App& app, std::optional<Command> command) {
    const std::vector<std::string> unknown = app.remaining(true);
    const auto found =
        std::ranges::find_if(unknown, [](const std::string& word) { return word.starts_with("-"); });
    if (found == unknown.end()) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    for (const CLI::Option* option : app.get_options([](const auto* one) { return one->nonpositional(); })) {
        if (Concerns(*option, command)) {
            for (const std::string& name : option->get_lnames()) {
                names.push_back("--" + name);
            }
        }
    }
    const std::string typed = found->substr(0, found->find('='));
    const std::string nearest = NearestName(typed, names);
    return "There is no option \"" + typed + "\"." +
           (nearest.empty() ? "" : " Did you mean " + nearest + "?");
}

// "Did you mean ping? " for a command that does not exist.
std::string SuggestedCommand(const std::string& unknown) {
    const std::string nearest = NearestName(unknown, {"report", "adapters", "run", "ping"});
    return nearest.empty() ? "" : "Did you mean " + nearest + "? ";
}

std::optional<Command> CommandOf(const CLI::App& app) {
    const std::vector<CLI::App*> given = app.get_subcommands();
    for (const Command command : {Command::Report, Command::Adapters, Command::Run, Command::Ping}) {
        if (!given.empty() && given.front()->get_name() == NameOf(command)) {
            return command;
        }
    }
    return std::nullopt;
}

} // namespace

const char* NameOf(Command command) {
    switch (command) {
    case Command::Report:
        return "report";
    case Command::Adapters:
        return "adapters";
    case Command::Run:
        return "run";
    case Command::Ping:
        break;
    }
    return "ping";
}

bool Options::IsSimulated() const {
    return IsSimulatedLan(library);
}

bool Options::UsesLibraryFile() const {
    return IsLibraryFile(library);
}

std::variant<Options, OptionsAnswer> ParseOptions(const std::vector<std::string>& arguments) {
    Grammar grammar;
    CLI::App& app = grammar.app;
    try {
        std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
        app.parse(reversed);
        return CheckValues(app, grammar.typed, grammar.command.value());
    } catch (const CLI::CallForHelp&) {
        return OptionsAnswer{FromUtf8(HelpText(grammar, CommandOf(app))), false};
    } catch (const CLI::CallForVersion& version) {
        return OptionsAnswer{FromUtf8(version.what()) + L"\n", false};
    } catch (const CLI::RequiredError&) {
        const std::vector<std::string> unknown = app.remaining();
        return Refusal((unknown.empty() ? ""
                                        : "There is no command \"" + unknown.front() + "\". " +
                                              SuggestedCommand(unknown.front())) +
                       "Name one of the commands report, adapters, run or ping TARGET.");
    } catch (const CLI::ExtrasError& problem) {
        return Refusal(DescribeUnknownOption(app, CommandOf(app)).value_or(problem.what()));
    } catch (const std::runtime_error& problem) { // CLI::ParseError and OptionError
        return Refusal(problem.what());
    }
}

} // namespace vnxtest
