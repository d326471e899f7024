// The commands and options of vnxtest-cli as parts of its manual page.
#include <algorithm>
#include <vector>

#include <fmt/format.h>

#include "cli/options/help.h"
#include "core/debug_flags.h"
#include "filling.h"
#include "settings/derived_address.h"

namespace vnxtest {

namespace {

constexpr std::size_t kLongestLine = 78;
constexpr Command kCommands[] = {Command::Ping, Command::Run, Command::Adapters, Command::Report};

bool EndsSentence(std::string_view word) {
    return word.ends_with('.') && !word.ends_with("..");
}

std::string Heading(const CLI::Option& option) {
    std::string heading;
    for (const std::string& name : option.get_snames()) {
        heading += (heading.empty() ? "\\fB" : ", \\fB") + ManualWord("-" + name) + "\\fR";
    }
    for (const std::string& name : option.get_lnames()) {
        heading += (heading.empty() ? "\\fB" : ", \\fB") + ManualWord("--" + name) + "\\fR";
        heading += name == "debug" ? "[=\\fIFLAGS\\fR]" : "";
    }
    const std::string value = option.get_items_expected_max() > 0 ? option.get_type_name() : std::string();
    if (!value.empty()) {
        const bool optional = option.get_items_expected_min() == 0;
        heading +=
            fmt::format(" {}\\fI{}\\fR{}", optional ? "[" : "", ManualWord(value), optional ? "]" : "");
    }
    return heading;
}

// " Of run and ping." for an option that not all commands have, unless the group's name says so.
std::string CommandsOf(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const Command command : kCommands) {
        if (Concerns(option, command)) {
            names.insert(names.begin(), NameOf(command));
        }
    }
    if (names.size() == std::size(kCommands) || option.get_group().ends_with(')')) {
        return {};
    }
    const std::string last = names.back();
    names.pop_back();
    return fmt::format(" Of {} and {}.", fmt::join(names, ", "), last);
}

std::string OptionsOf(const CLI::App& app, const std::string& group) {
    std::string text;
    for (const CLI::Option* option : app.get_options()) {
        if (option->get_group() == group) {
            text += ".TP\n" + Heading(*option) + "\n" +
                    ManualText(option->get_description() + "." + CommandsOf(*option));
        }
    }
    return text;
}

std::string AllOptions(const CLI::App& app) {
    std::vector<std::string> groups;
    for (const CLI::Option* option : app.get_options()) {
        const std::string& group = option->get_group();
        if (group != kHidden && std::ranges::find(groups, group) == groups.end()) {
            groups.push_back(group);
        }
    }
    std::string text;
    for (const std::string& group : groups) {
        text += groups.size() > 1 && group != groups.front() ? ".SS " + group + "\n" : std::string();
        text += OptionsOf(app, group);
    }
    return text;
}

} // namespace

std::string ManualWord(std::string_view word) {
    std::string masked;
    for (const char c : word) {
        masked += c == '-' ? "\\-" : c == '\\' ? "\\e" : std::string(1, c);
    }
    return masked;
}

std::string ManualText(std::string_view text) {
    std::string lines, line;
    const auto end = [&] {
        lines += line.empty() ? line
                              : (line.starts_with('.') || line.starts_with('\'') ? "\\&" : "") + line + "\n";
        line.clear();
    };
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find_first_of(" \n"));
        text.remove_prefix(std::min(text.size(), word.size() + 1));
        if (word.empty()) {
            continue;
        }
        const bool isOption = word.find_first_not_of("\"(") == word.find('-');
        const std::string masked = isOption ? ManualWord(word) : std::string(word);
        if (line.size() + masked.size() + 1 > kLongestLine) {
            end();
        }
        line += (line.empty() ? "" : " ") + masked;
        if (EndsSentence(word)) {
            end();
        }
    }
    end();
    return lines;
}

void AddManual(const Grammar& grammar, Fillings& fillings) {
    std::string commands, simulation;
    for (const Command command : kCommands) {
        const CLI::App* const sub = grammar.app.get_subcommand(NameOf(command));
        const bool isPing = command == Command::Ping;
        commands += fmt::format(".TP\n\\fB{}\\fR{}\n", NameOf(command), isPing ? " \\fITARGET\\fR" : "");
        commands += ManualText(sub->get_description() + "." +
                               (isPing ? std::string(" TARGET: ") + kAboutTarget + "." : std::string()));
    }
    for (const auto& [option, about] : SimulationOptions()) {
        const std::string_view name = std::string_view(option).substr(0, std::string_view(option).find('='));
        simulation += fmt::format(".TP\n\\fB{}=\\fI{}\\fR\n{}", name, option + name.size() + 1,
                                  ManualText(std::string(about) + "."));
    }
    fillings["COMMANDS"] = commands;
    fillings["OPTIONS"] = AllOptions(grammar.app);
    fillings["SIMULATION"] = simulation;
    fillings["ABOUT_VALUES"] = ManualText(AboutValues());
}

} // namespace vnxtest
