// The help of the terminal program: CLI11's, wrapped to the terminal's width, of all commands or of one.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

namespace vnxtest {

class HelpFormat final : public CLI::Formatter {
public:
    // `width` in columns.
    explicit HelpFormat(std::size_t width);

    // What follows "Usage: "; without it CLI11 makes it of the options.
    void SetUsage(std::string usage) { m_usage = std::move(usage); }
    // Without the list of commands.
    void LeaveCommandsOut() { m_withCommands = false; }
    // A section behind the options: its heading, and entries of a name and what it does.
    struct Section {
        std::string heading;
        std::vector<std::pair<std::string, std::string>> entries;
    };
    void Add(Section section) { m_sections.push_back(std::move(section)); }

    std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override;
    std::string make_usage(const CLI::App* app, std::string name) const override;
    std::string make_description(const CLI::App* app) const override;
    std::string make_footer(const CLI::App* app) const override;
    std::string make_subcommand(const CLI::App* sub) const override;
    std::string make_option(const CLI::Option* option, bool isPositional) const override;
    std::string make_option_name(const CLI::Option* option, bool isPositional) const override;

private:
    std::string Entry(const std::string& name, const std::string& text) const;
    std::string Paragraphs(const std::string& text) const;

    const std::size_t m_width;
    const std::size_t m_column; // where the texts of entries begin
    std::string m_usage;
    bool m_withCommands = true;
    std::vector<Section> m_sections;
};

} // namespace vnxtest
