#include "cli/options/help_format.h"

#include <algorithm>
#include <string_view>

namespace vnxtest {

namespace {

// Where the texts begin on a terminal that is wide enough, and on a narrow one, there in lines of their own.
constexpr std::size_t kColumn = 28;
constexpr std::size_t kNarrowColumn = 6;
constexpr std::size_t kWideEnough = 60;

// The longest beginning of `text` that has room, up to a blank; at least a word.
std::string_view FirstLine(std::string_view text, std::size_t room) {
    if (text.size() <= room) {
        return text;
    }
    std::size_t end = text.rfind(' ', room);
    if (end == std::string_view::npos || end == 0) {
        end = text.find(' ', room);
    }
    return text.substr(0, end);
}

// `text` in lines of at most `width` columns; all but the first begin with `indent` blanks, and the first one
// stands behind `taken` columns.
std::string Wrapped(std::string_view text, std::size_t width, std::size_t indent, std::size_t taken) {
    std::string lines;
    while (true) {
        const std::string_view line = FirstLine(text, width > taken ? width - taken : 1);
        lines += line;
        if (line.size() == text.size()) {
            return lines;
        }
        text.remove_prefix(line.size() + 1);
        lines += '\n' + std::string(indent, ' ');
        taken = indent;
    }
}

} // namespace

HelpFormat::HelpFormat(std::size_t width)
    : m_width(width), m_column(width >= kWideEnough ? kColumn : kNarrowColumn) {
    column_width(m_column);
    label("SUBCOMMAND", "COMMAND");
}

std::string HelpFormat::make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const {
    std::string text = make_description(app) + make_usage(app, std::move(name)) + make_groups(app, mode);
    for (const Section& section : m_sections) {
        text += '\n' + Paragraphs(section.heading);
        for (const auto& [entry, meaning] : section.entries) {
            text += Entry(entry, meaning);
        }
    }
    text += m_withCommands ? make_subcommands(app, mode) : std::string();
    text += '\n' + make_footer(app);
    for (std::size_t at = text.find("\n\n\n"); at != std::string::npos; at = text.find("\n\n\n", at)) {
        text.erase(at, 1);
    }
    return text;
}

std::string HelpFormat::make_usage(const CLI::App* app, std::string name) const {
    return m_usage.empty() ? CLI::Formatter::make_usage(app, std::move(name)) : "Usage: " + m_usage + "\n";
}

std::string HelpFormat::make_description(const CLI::App* app) const {
    return Paragraphs(app->get_description());
}

std::string HelpFormat::make_footer(const CLI::App* app) const {
    return Paragraphs(app->get_footer());
}

std::string HelpFormat::make_subcommand(const CLI::App* sub) const {
    std::string name = sub->get_name();
    for (const CLI::Option* positional :
         sub->get_options([](const auto* one) { return one->get_positional(); })) {
        name += ' ' + positional->get_name(true, false);
    }
    return Entry(name, sub->get_description());
}

std::string HelpFormat::make_option(const CLI::Option* option, bool isPositional) const {
    return Entry(make_option_name(option, isPositional) + make_option_opts(option), make_option_desc(option));
}

// Without the values "{...}" that CLI11 keeps with the names of flags.
std::string HelpFormat::make_option_name(const CLI::Option* option, bool isPositional) const {
    std::string name = CLI::Formatter::make_option_name(option, isPositional);
    for (std::size_t begin = name.find('{'); begin != std::string::npos; begin = name.find('{')) {
        name.erase(begin, name.find('}', begin) - begin + 1);
    }
    return name;
}

std::string HelpFormat::Entry(const std::string& name, const std::string& text) const {
    std::string entry = "  " + name;
    entry += entry.size() < m_column ? std::string(m_column - entry.size(), ' ')
                                     : "\n" + std::string(m_column, ' ');
    return entry + Wrapped(text, m_width, m_column, m_column) + "\n";
}

// Each line of `text` is a paragraph, wrapped below its own beginning.
std::string HelpFormat::Paragraphs(const std::string& text) const {
    std::string lines;
    std::string_view rest = text;
    while (!rest.empty()) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(rest.size(), line.size() + 1));
        const std::size_t indent = std::min(line.find_first_not_of(' '), line.size());
        lines += std::string(indent, ' ') +
                 Wrapped(line.substr(indent), m_width, indent + (indent > 0 ? 2 : 0), indent);
        lines += '\n';
    }
    return lines;
}

} // namespace vnxtest
