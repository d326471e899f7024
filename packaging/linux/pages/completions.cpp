// What the completions of the shells know: the options of both programs, and the names that values are chosen
// from.
#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "core/debug_flags.h"
#include "filling.h"

namespace vnxtest {

namespace {

constexpr Command kCommands[] = {Command::Report, Command::Adapters, Command::Run, Command::Ping};

struct OptionWords {
    std::vector<std::string> names{}; // with their dashes
    std::string value{};              // as the help calls it; empty: none
    std::string about{};
    std::vector<std::string> commands{}; // to which it belongs
    bool valueMayStandApart = true;      // false: it stands behind an equal sign only
};

std::vector<OptionWords> OptionsOf(const Grammar& grammar) {
    std::vector<OptionWords> all;
    for (const CLI::Option* option : grammar.app.get_options()) {
        OptionWords words{.about = option->get_description()};
        std::ranges::transform(option->get_snames(), std::back_inserter(words.names),
                               [](const std::string& name) { return "-" + name; });
        std::ranges::transform(option->get_lnames(), std::back_inserter(words.names),
                               [](const std::string& name) { return "--" + name; });
        for (const Command command : kCommands) {
            if (Concerns(*option, command)) {
                words.commands.emplace_back(NameOf(command));
            }
        }
        const bool isDebug = option->check_lname("debug");
        words.value = isDebug ? "FLAGS" : option->get_items_expected_max() > 0 ? option->get_type_name() : "";
        if (option->check_lname("adapter2")) {
            words.value = grammar.app.get_option("--adapter")->get_type_name(); // for short it says "..."
        }
        words.valueMayStandApart = !isDebug;
        all.push_back(std::move(words));
    }
    return all;
}

// The window's: app.cpp and the toolkit have them. tests/e2e/test_completions.py compares them with its help.
std::vector<OptionWords> OptionsOfWindow() {
    return {{.names = {"-h", "--help"}, .about = "Print the options and end"},
            {.names = {"-V", "--version"}, .about = "Print the version and end"},
            {.names = {"--verbose"}, .about = "Write more messages of the toolkit"},
            {.names = {"--library"}, .value = "NAME|PATH", .about = "Virtual interface library"}};
}

std::string Replaced(std::string text, const std::string& what, const std::string& by) {
    for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
        text.replace(at, what.size(), by);
    }
    return text;
}

// Within single quotes, which zsh and fish write differently.
std::string ZshQuoted(const std::string& text) {
    return Replaced(text, "'", "'\\''");
}
std::string FishQuoted(const std::string& text) {
    return Replaced(Replaced(text, "\\", "\\\\"), "'", "\\'");
}

// "tun tap" for a value out of "tun|tap"; empty if the value is no choice of words.
std::string Choice(const std::string& value) {
    const bool isChoice = value.find('|') != std::string::npos &&
                          std::ranges::none_of(value, [](char c) { return c >= 'A' && c <= 'Z'; });
    return isChoice ? Replaced(value, "|", " ") : std::string();
}

// How zsh and fish complete the value: the function of the template.
std::string FunctionFor(const OptionWords& option) {
    return option.value == "NAME|PATH"     ? "libraries"
           : option.value == "IP|MAC|NAME" ? "adapters"
           : option.value == "FLAGS"       ? "flags"
                                           : "";
}

// For _arguments of zsh, behind the names of the commands.
std::string ZshSpecification(const OptionWords& option, const std::string& function) {
    std::string action = FunctionFor(option);
    action = option.value == "FILE"          ? "_files"
             : !Choice(option.value).empty() ? "(" + Choice(option.value) + ")"
             : action.empty()                ? " "
                                             : function + "_" + action;
    std::string text = Replaced(Replaced(Replaced(option.about, "[", "\\["), "]", "\\]"), ":", "\\:");
    const std::string value =
        option.value.empty() ? "" : ":" + Replaced(option.value, "|", " or ") + ":" + action;
    std::string lines;
    for (const std::string& name : option.names) {
        const bool takesValue = !value.empty() && !name.starts_with("--no-");
        const std::string sign = !takesValue ? "" : !option.valueMayStandApart ? "=-" : "=";
        const std::string optional = takesValue && !option.valueMayStandApart ? ":" : "";
        const std::string others = fmt::format("{}", fmt::join(option.names, " "));
        lines += fmt::format("    '{}' '({}){}{}[{}]{}{}'\n", fmt::join(option.commands, " "), others, name,
                             sign, ZshQuoted(text), optional, takesValue ? ZshQuoted(value) : "");
    }
    return lines;
}

std::string FishCommand(const OptionWords& option, const std::string& program, const std::string& function) {
    std::string line = "complete -c " + program;
    if (!option.commands.empty()) {
        line += fmt::format(" -n '{}_has {}'", function, fmt::join(option.commands, " "));
    }
    std::string more;
    for (const std::string& name : option.names) {
        if (name.starts_with("--no-") && option.names.size() > 1) {
            more = fmt::format("complete -c {} -n '{}_has {}' -l {} -d 'Not so'\n", program, function,
                               fmt::join(option.commands, " "), name.substr(2));
        } else {
            line += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
        }
    }
    if (option.value == "FILE") {
        line += " -r -F";
    } else if (!option.value.empty()) {
        const std::string choice = Choice(option.value), values = FunctionFor(option);
        line += option.valueMayStandApart ? " -x" : " -f";
        line += !choice.empty()   ? " -a '" + choice + "'"
                : !values.empty() ? " -a '(" + function + "_" + values + ")'"
                                  : "";
    }
    return line + " -d '" + FishQuoted(option.about) + "'\n" + more;
}

// "a b --c": the words of all options, for which `wanted` is true.
template <typename Wanted>
std::string Names(const std::vector<OptionWords>& options, Wanted wanted) {
    std::string names;
    for (const OptionWords& option : options) {
        for (const std::string& name : option.names) {
            names += wanted(option) ? (names.empty() ? "" : " ") + name : "";
        }
    }
    return names;
}

// What stands in values: the simulated LAN's options, and the names of the debug flags.
void AddWordsOfValues(Fillings& fillings) {
    std::string simulation, zshSimulation, fishSimulation;
    for (const auto& [words, about] : SimulationOptions()) {
        const std::string name = std::string(words).substr(0, std::string(words).find('=') + 1);
        simulation += (simulation.empty() ? "" : " ") + name;
        zshSimulation += "    '" + name + ":" + ZshQuoted(Replaced(about, ":", "\\:")) + "'\n";
        fishSimulation += " '" + name + "\t" + FishQuoted(about) + "'";
    }
    std::string flags;
    for (const DebugFlag& flag : kDebugFlags) {
        flags += (flags.empty() ? "" : " ") + std::string(flag.name);
    }
    fillings.insert({{"SIMULATION_NAMES", simulation},
                     {"ZSH_SIMULATION", zshSimulation},
                     {"FISH_SIMULATION", fishSimulation},
                     {"DEBUG_FLAGS", flags}});
}

} // namespace

void AddCompletions(const Grammar& grammar, const std::string& program, Fillings& fillings) {
    AddWordsOfValues(fillings);
    const bool isWindow = program == "vnxtest";
    const std::string function = "_" + Replaced(program, "-", "_");
    const std::vector<OptionWords> options = isWindow ? OptionsOfWindow() : OptionsOf(grammar);
    std::string bash, zsh, fish, zshCommands, fishCommands, commands;
    for (const Command command : kCommands) {
        if (isWindow) {
            break;
        }
        const std::string name = NameOf(command);
        const std::string about = grammar.app.get_subcommand(name)->get_description();
        commands += (commands.empty() ? "" : " ") + name;
        zshCommands += "    '" + name + ":" + ZshQuoted(about) + "'\n";
        fishCommands += fmt::format("complete -c {} -n '_{}_has_none' -a {} -d '{}'\n", program, function,
                                    name, FishQuoted(about));
        bash += "    " + name + ") options='" +
                Names(options,
                      [&name](const OptionWords& option) {
                          return std::ranges::find(option.commands, name) != option.commands.end();
                      }) +
                "' ;;\n";
    }
    bash += "    *) options='" + Names(options, [](const OptionWords&) { return true; }) + "' ;;\n";
    for (const OptionWords& option : options) {
        zsh += ZshSpecification(option, function);
        fish += FishCommand(option, program, "_" + function);
    }
    fillings.insert({{"PROGRAM", program},
                     {"FUNCTION", function},
                     {"COMMANDS_OF_PROGRAM", commands},
                     {"BASH_OPTIONS", bash},
                     {"ZSH_OPTIONS", zsh},
                     {"FISH_OPTIONS", fish},
                     {"ZSH_COMMANDS", zshCommands},
                     {"FISH_COMMANDS", fishCommands},
                     {"VALUE_OPTIONS", Names(options, [](const OptionWords& option) {
                          return !option.value.empty() && option.valueMayStandApart;
                      })}});
}

} // namespace vnxtest
