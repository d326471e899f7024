// The grammar of the terminal program's command line: its commands and options, what each is for, and which
// belong to which command.
//
// The parser, the help, the manual page and the completions of the shells all go by it. Any thread.
#pragma once

#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include <CLI/CLI.hpp>

#include "cli/options/options.h"

namespace vnxtest {

// The texts of the options as they were typed; empty if not given.
struct TypedOptions {
    std::string library = "auto";
    std::string adapter[2], guestIp[2], guestMac[2], mode[2];
    std::string count, size, timeout, delay, from, gateway, driverBuffer, dllBuffer, duration, output, json,
        capture, target;
    std::string debug;
    bool socketNotify = false;
    bool proceed = false, noReport = false, quiet = false, save = false, noSandbox = false;
};

// What --debug without "=FLAGS" stores.
inline constexpr const char* kDebugDefault = "on";
inline constexpr const char* kAboutTarget = "Host name or IPv4 address to ping";
// The group of an option that the help and the manual page leave out.
inline constexpr const char* kHidden = "";

struct Grammar {
    Grammar();
    Grammar(const Grammar&) = delete; // the parser points into it
    Grammar& operator=(const Grammar&) = delete;

    CLI::App app;
    // What parsing stores.
    TypedOptions typed{};
    std::optional<Command> command{};
};

// An option that belongs to some of the commands only.
struct Belonging {
    const char* option;
    std::initializer_list<Command> commands;
};
std::span<const Belonging> Belongings();

// True if the option has an effect with the command; without a command if it has with any.
bool Concerns(const CLI::Option& option, std::optional<Command> command);

// The options of the simulated LAN, "loss=PERCENT", each with what it does.
std::span<const std::pair<const char*, const char*>> SimulationOptions();

} // namespace vnxtest
