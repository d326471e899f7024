// The command line of the terminal program: its grammar, its help, and its values, checked.
//
// A value that was not given is nullopt and comes from the profile. A present value has passed its check,
// so no number is out of its range. Any thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "wrenlib/address.h"

namespace vnxtest {

enum class Command { Report, Adapters, Run, Ping };

// The command as it is typed.
const char* NameOf(Command command);

// The options of one of the two interfaces.
struct InterfaceOptions {
    std::optional<bool> tapMode{};
    std::optional<std::wstring> guestIp{};  // a dotted address
    std::optional<std::wstring> guestMac{}; // a MAC address
    std::optional<std::wstring> adapter{};  // IP address, MAC address or name, as typed

    bool AnyGiven() const { return tapMode || guestIp || guestMac || adapter; }
};

struct DebugOptions {
    bool enabled = false;
    std::optional<std::uint32_t> flags{}; // nullopt: those of the profile
};

struct Options {
    Command command = Command::Report;
    std::wstring library = L"auto";
    InterfaceOptions interface1{};
    InterfaceOptions interface2{};
    std::wstring target{}; // of `ping`, as typed
    std::optional<std::uint32_t> count{};
    std::optional<std::uint32_t> dataSize{}; // bytes
    std::optional<std::uint32_t> timeout{};  // milliseconds
    std::optional<std::uint32_t> delay{};    // milliseconds
    std::optional<int> fromInterface{};      // 1 or 2
    std::optional<Ipv4Address> gateway{};
    std::optional<std::uint32_t> driverBufferSize{}; // bytes
    std::optional<std::uint32_t> dllBufferSize{};    // bytes
    std::optional<bool> socketNotify{};
    std::optional<DebugOptions> debug{};
    std::optional<std::chrono::milliseconds> duration{};
    bool proceed = false;
    bool noReport = false;
    bool quiet = false; // without the document on standard output
    bool save = false;
    bool noSandbox = false;
    std::optional<std::filesystem::path> outputFile{};
    bool json = false;                // JSON was asked for
    std::filesystem::path jsonFile{}; // empty: standard output (`adapters` only)

    std::optional<std::filesystem::path> captureFile{};
    bool captureToOutput = false; // the document does not go there then

    // True if the second interface has any option.
    bool UsesTwoInterfaces() const { return interface2.AnyGiven() || fromInterface == 2; }
    // True if the simulated LAN was asked for.
    bool IsSimulated() const;
    // A shared library was named: somebody else's code.
    bool UsesLibraryFile() const;
};

// The answer instead of a run: the help or the version (standard output, status 0), or a fault of the
// command line (standard error, status 2).
struct OptionsAnswer {
    std::wstring text;
    bool isError = false;
};

// Reads the arguments after the program's name (UTF-8). Neither prints nor ends the program.
std::variant<Options, OptionsAnswer> ParseOptions(const std::vector<std::string>& arguments);

} // namespace vnxtest
