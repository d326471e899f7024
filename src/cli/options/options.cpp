#include "cli/options/options.h"

#include <algorithm>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "cli/options/help_format.h"
#include "cli/options/nearest_name.h"
#include "cli/options/value_parsing.h"
#include "core/ping_plan.h"
#include "core/run_settings.h"
#include "platform/process/sandbox.h"
#include "platform/process/terminal.h"
#include "settings/derived_address.h"
#include "vnetx/library.h"
#include "wrenlib/product.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

// Follows the product's name. Lines are paragraphs, wrapped to the terminal.
constexpr const char* kDescription =
    ": a simulated guest that tests a virtual network interface.\n"
    "The document (report, messages, ping results) goes to standard output, everything else to standard error.";

// With the host numbers of the two guests.
constexpr const char* kAboutValues =
    "Values that are not given come from the profile, where the window keeps them, else they are derived from the host: the guest gets host number {} (the second interface's {}) of its adapter's subnet, and a MAC address made from its IP address. What is given holds for this run alone, unless --save is given too.\n"
    "\n";

constexpr const char* kAboutStatus =
    "Exit status: 0 the command did its work (ping: no ping was lost); 1 pings were lost; 2 anything else, and standard error says what and what to do next. An interrupt (Ctrl+C) stops in order; a second one ends at once.\n";

struct Example {
    const char* line;
    std::initializer_list<Command> commands;
};
const Example kExamples[] = {
    {"  vnxtest-cli --library sim ping 198.18.0.2    needs no rights and no network\n", {Command::Ping}},
    {"  vnxtest-cli adapters    which adapters there are\n", {Command::Adapters}},
    {"  vnxtest-cli ping 192.168.0.1 --adapter eth0 --mode tap\n", {Command::Ping}},
    {"  vnxtest-cli run --adapter eth0 --duration 60    answer for a minute\n", {Command::Run}},
};

// The option texts of the command line; empty if not given.
struct Raw {
    std::string library = "auto";
    std::string adapter[2], guestIp[2], guestMac[2], mode[2];
    std::string count, size, timeout, delay, from, gateway, driverBuffer, dllBuffer, duration, output, json,
        capture, target;
    std::string debug;
    bool socketNotify = false;
    bool proceed = false, noReport = false, quiet = false, save = false, noSandbox = false;
};

constexpr const char* kEngineGroup = "The guest (run, ping)";
constexpr const char* kPingGroup = "The ping test (ping)";
constexpr const char* kOutputGroup = "Output";
constexpr const char* kDebugDefault = "on";
constexpr const char* kAboutTarget = "Host name or IPv4 address to ping";

constexpr const char* kAboutSimulation =
    "The simulated LAN (--library sim:NAME=VALUE,NAME=VALUE,...); PERCENT is of the replies to the guest's pings, MS may have a fraction:";
// As vnetx/sim/sim_options knows them.
const std::initializer_list<std::pair<std::string, std::string>> kSimulationOptions = {
    {"loss=PERCENT", "Lost: never sent"},
    {"dup=PERCENT", "Sent twice"},
    {"late=PERCENT", "Sent late, by lateby"},
    {"lateby=MS", "How late a late one is (default 800)"},
    {"df=PERCENT", "Sent with the Don't-Fragment bit, which a guest ignores"},
    {"reorder=PERCENT", "Held back until the next one has passed"},
    {"corrupt=PERCENT", "One bit turned over on the way"},
    {"truncate=PERCENT", "Cut short on the way"},
    {"foreign=PERCENT", "With another identifier than the request's"},
    {"delay=MS", "Time from request to reply"},
    {"jitter=MS", "Up to this much more"},
    {"pinger=MS", "198.18.0.2 pings each guest at this interval (default 0: not at all)"},
    {"mtu=BYTES", "Longest packet, 68 to 65535 (default 1500)"},
    {"seed=NUMBER", "The same one always gives the same sequence (default 1)"},
};

// Which commands an option belongs to. An option without effect is refused, not ignored.
struct Belonging {
    const char* option;
    std::initializer_list<Command> commands;
};
const std::initializer_list<Command> kEngine = {Command::Run, Command::Ping};
const std::initializer_list<Command> kDocument = {Command::Report, Command::Run, Command::Ping};
const std::initializer_list<Command> kPing = {Command::Ping};
const Belonging kBelongings[] = {
    {"--adapter", kEngine},    {"--adapter2", kEngine},
    {"--guest-ip", kEngine},   {"--guest-ip2", kEngine},
    {"--guest-mac", kEngine},  {"--guest-mac2", kEngine},
    {"--mode", kEngine},       {"--mode2", kEngine},
    {"--gateway", kEngine},    {"--proceed", kEngine},
    {"--save", kEngine},       {"--driver-buffer", kEngine},
    {"--dll-buffer", kEngine}, {"--socket-notify", kEngine},
    {"--debug", kEngine},      {"--duration", kEngine},
    {"--no-report", kEngine},  {"--count", kPing},
    {"--size", kPing},         {"--timeout", kPing},
    {"--delay", kPing},        {"--from", kPing},
    {"--output", kDocument},   {"--json", {Command::Adapters, Command::Run, Command::Ping}},
    {"--no-sandbox", kEngine}, {"--quiet", kEngine},
    {"--capture", kEngine},
};

// "8 to 65507 (default 32)".
std::string Choice(const NumberRange& range, const char* unit = "") {
    return fmt::format("{} to {}{} (default {})", range.lowest, range.highest, unit, range.standard);
}

void AddGuestOptions(CLI::App& app, Raw& raw) {
    const auto add = [&app](const std::string& name, std::string& text, const char* type,
                            const std::string& help) {
        app.add_option(name, text, help)->type_name(type)->group(kEngineGroup);
    };
    add("--adapter", raw.adapter[0], "IP|MAC|NAME", "Host adapter of interface 1 (see the command adapters)");
    add("--guest-ip", raw.guestIp[0], "IP", "The guest's IP address on interface 1");
    add("--guest-mac", raw.guestMac[0], "MAC", "The guest's MAC address on interface 1");
    add("--mode", raw.mode[0], "tun|tap", "TUN (IP packets) or TAP (Ethernet frames) on interface 1");
    for (const auto& [name, text] :
         {std::pair{"--adapter2", &raw.adapter[1]}, std::pair{"--guest-ip2", &raw.guestIp[1]},
          std::pair{"--guest-mac2", &raw.guestMac[1]}, std::pair{"--mode2", &raw.mode[1]}}) {
        add(name, *text, name == std::string_view("--mode2") ? "tun|tap" : "...",
            "The same for interface 2, used when any of these is given");
    }
    add("--gateway", raw.gateway, "IP", "Define the default gateway; it is asked for its MAC address");
    app.add_flag("--proceed", raw.proceed,
                 "Answer \"Proceed\" to the warnings before the start; without it a warning ends the command")
        ->group(kEngineGroup);
    add("--duration", raw.duration, "SECONDS",
        "Stop after this time; a ping test sends no more then and waits for what is under way");
    add("--driver-buffer", raw.driverBuffer, "K",
        "The packet driver's buffer, " + Choice(kDriverBufferRange, " Kbytes"));
    add("--dll-buffer", raw.dllBuffer, "K",
        "The library's I/O buffer, " + Choice(kDllBufferRange, " Kbytes"));
    app.add_flag("--socket-notify,!--no-socket-notify", raw.socketNotify,
                 "Wait for packets on a socket instead of a timed read")
        ->group(kEngineGroup);
    app.add_flag("--debug{on},!--no-debug", raw.debug,
                 "Show debug messages. --debug=FLAGS chooses which: a number, or names out of " +
                     DebugFlagNames())
        ->group(kEngineGroup);
    app.add_flag(
           "--no-sandbox", raw.noSandbox,
           "For debugging: do not end the program when it makes a system call that a running guest has no use for")
        ->group(kEngineGroup);
    app.add_flag("--save", raw.save, "Store the values of this run in the profile, as the window's OK does")
        ->group(kEngineGroup);
}

void AddPingOptions(CLI::App& app, Raw& raw) {
    const auto add = [&app](const char* name, std::string& text, const char* type, const std::string& help) {
        app.add_option(name, text, help)->type_name(type)->group(kPingGroup);
    };
    add("--count", raw.count, "N",
        "Pings to send, " + Choice(kPingCountRange) + "; with --duration also 0: until then");
    add("--size", raw.size, "BYTES", "Data bytes of each ping, " + Choice(kPingSizeRange));
    add("--timeout", raw.timeout, "MS", "Time to wait for each reply, " + Choice(kPingTimeoutRange, " ms"));
    add("--delay", raw.delay, "MS", "Time between two pings, " + Choice(kPingDelayRange, " ms"));
    add("--from", raw.from, "1|2", "Interface to ping from (default 1)");
}

void AddOutputOptions(CLI::App& app, Raw& raw) {
    app.add_flag("-q,--quiet", raw.quiet,
                 "Leave the document out; one line on standard error says how it went")
        ->group(kOutputGroup);
    app.add_flag("--no-report", raw.noReport, "Leave the start-up report out")->group(kOutputGroup);
    app.add_option("--output", raw.output, "Also save the document as text")
        ->type_name("FILE")
        ->group(kOutputGroup);
    app.add_option("--json", raw.json,
                   "Save the results as JSON; adapters: write JSON, to standard output without a FILE")
        ->type_name("FILE")
        ->expected(0, 1)
        ->group(kOutputGroup);
    app.add_option(
           "--capture", raw.capture,
           "Capture the guest's frames, with what became of each, as pcapng; - is standard output, which the document then leaves (see -q, --output)")
        ->type_name("FILE")
        ->group(kOutputGroup);
}

std::optional<std::uint32_t> Number(const char* option, const std::string& text, const NumberRange& range,
                                    const char* unit) {
    return text.empty() ? std::nullopt : std::optional(ParseNumberOption(option, text, range, unit));
}

InterfaceOptions CheckInterface(const Raw& raw, std::size_t index) {
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

void CheckPing(const Raw& raw, Options& options) {
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

void CheckFiles(const CLI::App& app, const Raw& raw, Options& options) {
    const auto path = [](const char* option, const std::string& text) {
        if (text == "-") {
            throw OptionError(
                std::string(option) +
                ": standard output already carries the document; name a file (for example /dev/stderr).");
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

Options CheckValues(const CLI::App& app, const Raw& raw, Command command) {
    for (const Belonging& belonging : kBelongings) {
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

// Defines the grammar, which stores the command in `chosen` and the texts of the options in `raw`.
void DefineGrammar(CLI::App& app, Raw& raw, std::optional<Command>& chosen) {
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::Throw);
    app.set_help_flag("-h,--help", "Print this help and end");
    app.set_version_flag("-V,--version", kProductAndVersion, "Print the version and end");
    app.require_subcommand(1);
    app.add_option(
           "--library", raw.library,
           "Virtual interface library: auto, pcap, tun, sim, sim:loss=5,delay=20,... or the path of a shared library")
        ->type_name("NAME|PATH")
        ->default_str("auto");
    AddGuestOptions(app, raw);
    AddPingOptions(app, raw);
    AddOutputOptions(app, raw);

    const std::pair<Command, const char*> commands[] = {
        {Command::Report, "Write the start-up diagnostics report and end"},
        {Command::Adapters, "List the host adapters"},
        {Command::Run, "Start the guest and answer ARP, RARP and ping until stopped"},
        {Command::Ping, "Start the guest, run one ping test, stop the guest"},
    };
    for (const auto& [command, help] : commands) {
        CLI::App* const sub = app.add_subcommand(NameOf(command), help);
        sub->group("Commands");
        sub->fallthrough(); // options may stand before and after the command
        sub->set_help_flag();
        sub->callback([&chosen, value = command] { chosen = value; });
        if (command == Command::Ping) {
            sub->add_option("TARGET", raw.target, kAboutTarget)->type_name("");
        }
    }
}

// The help of `command`, or of all.
OptionsAnswer Help(CLI::App& app, std::optional<Command> command) {
    HelpFormat format(TerminalWidth(stdout));
    const auto concerns = [command](const std::initializer_list<Command>& commands) {
        return !command || std::ranges::find(commands, *command) != commands.end();
    };
    for (const Belonging& belonging : kBelongings) {
        if (!concerns(belonging.commands)) {
            app.get_option(belonging.option)->group(""); // is not shown
        }
    }
    if (command) {
        const bool isPing = *command == Command::Ping;
        const std::string call = std::string("vnxtest-cli ") + NameOf(*command);
        app.description(call + ": " + app.get_subcommand(NameOf(*command))->get_description() + ".");
        format.SetUsage(call + " [OPTIONS]" + (isPing ? " TARGET" : ""));
        format.LeaveCommandsOut();
        if (isPing) {
            format.Add({"TARGET:", {{"TARGET", kAboutTarget}}});
        }
    } else {
        format.SetUsage("vnxtest-cli [OPTIONS] COMMAND [TARGET]");
    }
    if (concerns(kEngine)) {
        format.Add({kAboutSimulation, {kSimulationOptions.begin(), kSimulationOptions.end()}});
    }
    std::string footer =
        concerns(kEngine) ? fmt::format(kAboutValues, kGuestHostNumbers[0], kGuestHostNumbers[1]) : "";
    footer += kAboutStatus;
    std::string examples;
    for (const Example& example : kExamples) {
        examples += concerns(example.commands) ? example.line : "";
    }
    footer += examples.empty() ? "" : "\nExamples:\n" + examples;
    app.footer(footer);
    return {FromUtf8(format.make_help(&app, app.get_name(), CLI::AppFormatMode::Normal)), false};
}

// " Did you mean --count?" for an option that does not exist, out of those that have an effect.
std::string Suggestion(const CLI::App& app, std::optional<Command> command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : app.get_options([](const auto* one) { return one->nonpositional(); })) {
        const auto known = std::ranges::find_if(kBelongings, [option](const Belonging& belonging) {
            return option->check_name(belonging.option);
        });
        if (!command || known == std::end(kBelongings) ||
            std::ranges::find(known->commands, *command) != known->commands.end()) {
            for (const std::string& name : option->get_lnames()) {
                names.push_back("--" + name);
            }
        }
    }
    for (const std::string& unknown : app.remaining(true)) {
        const std::string nearest =
            unknown.starts_with("-") ? NearestName(unknown.substr(0, unknown.find('=')), names) : "";
        if (!nearest.empty()) {
            return " Did you mean " + nearest + "?";
        }
    }
    return {};
}

// Of a command that does not exist, likewise.
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
    CLI::App app(std::string(kProductName) + kDescription, "vnxtest-cli");
    Raw raw;
    std::optional<Command> chosen;
    DefineGrammar(app, raw, chosen);
    try {
        std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
        app.parse(reversed);
        return CheckValues(app, raw, chosen.value());
    } catch (const CLI::CallForHelp&) {
        return Help(app, CommandOf(app));
    } catch (const CLI::CallForVersion& version) {
        return OptionsAnswer{FromUtf8(version.what()) + L"\n", false};
    } catch (const CLI::RequiredError&) {
        const std::vector<std::string> unknown = app.remaining();
        return Refusal((unknown.empty() ? ""
                                        : "There is no command \"" + unknown.front() + "\". " +
                                              SuggestedCommand(unknown.front())) +
                       "Name one of the commands report, adapters, run or ping TARGET.");
    } catch (const CLI::ExtrasError& problem) {
        return Refusal(problem.what() + Suggestion(app, CommandOf(app)));
    } catch (const std::runtime_error& problem) { // CLI::ParseError and OptionError
        return Refusal(problem.what());
    }
}

} // namespace vnxtest
