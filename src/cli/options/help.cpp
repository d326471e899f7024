#include "cli/options/help.h"

#include <fmt/format.h>

#include "cli/options/help_format.h"
#include "platform/process/terminal.h"
#include "settings/derived_address.h"

namespace vnxtest {

namespace {

// With the host numbers of the two guests.
constexpr const char* kAboutValues =
    "Values that are not given come from the profile, where the window keeps them, else they are derived from the host: the guest gets host number {} (the second interface's {}) of its adapter's subnet, and a MAC address made from its IP address. What is given holds for this run alone, unless --save is given too.";

constexpr const char* kAboutStatus =
    "Exit status: 0 the command did its work (ping: no ping was lost); 1 pings were lost; 2 anything else, and standard error says what and what to do next. An interrupt (Ctrl+C) stops in order; a second one ends at once.\n";

struct Example {
    const char* line;
    Command command;
};
const Example kExamples[] = {
    {"  vnxtest-cli --library sim ping 198.18.0.2    needs no rights and no network\n", Command::Ping},
    {"  vnxtest-cli adapters    which adapters there are\n", Command::Adapters},
    {"  vnxtest-cli ping 192.168.0.1 --adapter 192.168.0.2 --mode tap\n", Command::Ping},
    {"  vnxtest-cli run --adapter 192.168.0.2 --duration 60    answer for a minute\n", Command::Run},
};

constexpr const char* kAboutSimulation =
    "The simulated LAN (--library sim:NAME=VALUE,NAME=VALUE,...); PERCENT is of the replies to the guest's pings, MS may have a fraction:";

// True of all commands together, and of those that start a guest.
bool HasGuest(std::optional<Command> command) {
    return !command || *command == Command::Run || *command == Command::Ping;
}

std::string Footer(std::optional<Command> command) {
    std::string footer = HasGuest(command) ? AboutValues() + "\n\n" : std::string();
    footer += kAboutStatus;
    std::string examples;
    for (const Example& example : kExamples) {
        examples += !command || *command == example.command ? example.line : "";
    }
    return footer + (examples.empty() ? "" : "\nExamples:\n" + examples);
}

} // namespace

std::string AboutValues() {
    return fmt::format(kAboutValues, kGuestHostNumbers[0], kGuestHostNumbers[1]);
}

std::string HelpText(Grammar& grammar, std::optional<Command> command) {
    CLI::App& app = grammar.app;
    HelpFormat format(TerminalWidth(stdout));
    for (const Belonging& belonging : Belongings()) {
        CLI::Option* const option = app.get_option(belonging.option);
        if (!Concerns(*option, command)) {
            option->group(kHidden);
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
    if (HasGuest(command)) {
        format.Add({kAboutSimulation, {SimulationOptions().begin(), SimulationOptions().end()}});
    }
    app.footer(Footer(command));
    return format.make_help(&app, app.get_name(), CLI::AppFormatMode::Normal);
}

} // namespace vnxtest
