#include "cli/options/grammar.h"

#include <algorithm>

#include <fmt/format.h>

#include "cli/options/value_parsing.h"
#include "core/ping_plan.h"
#include "core/run_settings.h"
#include "platform/process/sandbox.h"
#include "wrenlib/product.h"

namespace vnxtest {

namespace {

// Follows the product's name. Lines are paragraphs, wrapped to the terminal.
constexpr const char* kDescription =
    ": a simulated guest that tests a virtual network interface.\n"
    "The document (report, messages, ping results) goes to standard output, everything else to standard error.";

constexpr const char* kEngineGroup = "The guest (run, ping)";
constexpr const char* kPingGroup = "The ping test (ping)";
constexpr const char* kOutputGroup = "Output";

// As vnetx/sim/sim_options knows them.
constexpr std::pair<const char*, const char*> kSimulationOptions[] = {
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

void AddGuestOptions(CLI::App& app, TypedOptions& typed) {
    const auto add = [&app](const std::string& name, std::string& text, const char* type,
                            const std::string& help) {
        app.add_option(name, text, help)->type_name(type)->group(kEngineGroup);
    };
    add("--adapter", typed.adapter[0], "IP|MAC|NAME",
        "Host adapter of interface 1 (see the command adapters)");
    add("--guest-ip", typed.guestIp[0], "IP", "The guest's IP address on interface 1");
    add("--guest-mac", typed.guestMac[0], "MAC", "The guest's MAC address on interface 1");
    add("--mode", typed.mode[0], "tun|tap", "TUN (IP packets) or TAP (Ethernet frames) on interface 1");
    for (const auto& [name, text] :
         {std::pair{"--adapter2", &typed.adapter[1]}, std::pair{"--guest-ip2", &typed.guestIp[1]},
          std::pair{"--guest-mac2", &typed.guestMac[1]}, std::pair{"--mode2", &typed.mode[1]}}) {
        add(name, *text, name == std::string_view("--mode2") ? "tun|tap" : "...",
            "The same for interface 2, used when any of these is given");
    }
    add("--gateway", typed.gateway, "IP", "Define the default gateway; it is asked for its MAC address");
    app.add_flag("--proceed", typed.proceed,
                 "Answer \"Proceed\" to the warnings before the start; without it a warning ends the command")
        ->group(kEngineGroup);
    add("--duration", typed.duration, "SECONDS",
        "Stop after this time; a ping test sends no more then and waits for what is under way");
    add("--driver-buffer", typed.driverBuffer, "K",
        "The packet driver's buffer, " + Choice(kDriverBufferRange, " Kbytes"));
    add("--dll-buffer", typed.dllBuffer, "K",
        "The library's I/O buffer, " + Choice(kDllBufferRange, " Kbytes"));
    app.add_flag("--socket-notify,!--no-socket-notify", typed.socketNotify,
                 "Wait for packets on a socket instead of a timed read")
        ->group(kEngineGroup);
    app.add_flag("--debug{on},!--no-debug", typed.debug,
                 "Show debug messages. --debug=FLAGS chooses which: a number, or names out of " +
                     DebugFlagNames())
        ->group(kEngineGroup);
    app.add_flag(
           "--no-sandbox", typed.noSandbox,
           "For debugging: do not end the program when it makes a system call that a running guest has no use for")
        ->group(HasSandbox() ? kEngineGroup : kHidden);
    app.add_flag("--save", typed.save, "Store the values of this run in the profile, as the window's OK does")
        ->group(kEngineGroup);
}

void AddPingOptions(CLI::App& app, TypedOptions& typed) {
    const auto add = [&app](const char* name, std::string& text, const char* type, const std::string& help) {
        app.add_option(name, text, help)->type_name(type)->group(kPingGroup);
    };
    add("--count", typed.count, "N",
        "Pings to send, " + Choice(kPingCountRange) + "; with --duration also 0: until then");
    add("--size", typed.size, "BYTES", "Data bytes of each ping, " + Choice(kPingSizeRange));
    add("--timeout", typed.timeout, "MS", "Time to wait for each reply, " + Choice(kPingTimeoutRange, " ms"));
    add("--delay", typed.delay, "MS", "Time between two pings, " + Choice(kPingDelayRange, " ms"));
    add("--from", typed.from, "1|2", "Interface to ping from (default 1)");
}

void AddOutputOptions(CLI::App& app, TypedOptions& typed) {
    app.add_flag("-q,--quiet", typed.quiet,
                 "Leave the document out; one line on standard error says how it went")
        ->group(kOutputGroup);
    app.add_flag("--no-report", typed.noReport, "Leave the start-up report out")->group(kOutputGroup);
    app.add_option("--output", typed.output, "Also save the document as text")
        ->type_name("FILE")
        ->group(kOutputGroup);
    app.add_option("--json", typed.json,
                   "Save the results as JSON; adapters: write JSON, to standard output without a FILE")
        ->type_name("FILE")
        ->expected(0, 1)
        ->group(kOutputGroup);
    app.add_option(
           "--capture", typed.capture,
           "Capture the guest's frames, with what became of each, as pcapng; - is standard output, which the document then leaves (see -q, --output)")
        ->type_name("FILE")
        ->group(kOutputGroup);
}

} // namespace

Grammar::Grammar() : app(std::string(kProductName) + kDescription, "vnxtest-cli") {
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::Throw);
    app.set_help_flag("-h,--help", "Print this help and end");
    app.set_version_flag("-V,--version", kProductAndVersion, "Print the version and end");
    app.require_subcommand(1);
    app.add_option(
           "--library", typed.library,
           "Virtual interface library: auto, pcap, tun, sim, sim:loss=5,delay=20,... or the path of a shared library")
        ->type_name("NAME|PATH")
        ->default_str("auto");
    AddGuestOptions(app, typed);
    AddPingOptions(app, typed);
    AddOutputOptions(app, typed);

    const std::pair<Command, const char*> commands[] = {
        {Command::Report, "Write the start-up diagnostics report and end"},
        {Command::Adapters, "List the host adapters"},
        {Command::Run, "Start the guest and answer ARP, RARP and ping until stopped"},
        {Command::Ping, "Start the guest, run one ping test, stop the guest"},
    };
    for (const auto& [name, help] : commands) {
        CLI::App* const sub = app.add_subcommand(NameOf(name), help);
        sub->group("Commands");
        sub->fallthrough(); // options may stand before and after the command
        sub->set_help_flag();
        sub->callback([this, value = name] { this->command = value; });
        if (name == Command::Ping) {
            sub->add_option("TARGET", typed.target, kAboutTarget)->type_name("");
        }
    }
}

std::span<const Belonging> Belongings() {
    return kBelongings;
}

bool Concerns(const CLI::Option& option, std::optional<Command> command) {
    const auto* const known = std::ranges::find_if(
        kBelongings, [&option](const Belonging& belonging) { return option.check_name(belonging.option); });
    return !command || known == std::end(kBelongings) ||
           std::ranges::find(known->commands, *command) != known->commands.end();
}

std::span<const std::pair<const char*, const char*>> SimulationOptions() {
    return kSimulationOptions;
}

} // namespace vnxtest
