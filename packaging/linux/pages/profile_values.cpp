// The values of the profile as parts of its manual page, by the names and ranges that the programs use.
#include <fmt/format.h>

#include "core/ping_plan.h"
#include "core/run_settings.h"
#include "filling.h"
#include "platform/files/profile.h"
#include "settings/derived_address.h"
#include "settings/profile_names.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

std::string Entry(std::wstring_view name, const std::string& about) {
    return ".TP\n.B " + ManualWord(ToUtf8(name)) + "\n" + ManualText(about);
}

std::string Entry(std::wstring_view name, const char* about, const NumberRange& range) {
    return Entry(name, fmt::format("{}: {} to {}, by default {}.", about, range.lowest, range.highest,
                                   range.standard));
}

std::string InterfaceValues(std::size_t index) {
    const profile::InterfaceNames& names = profile::kInterfaces[index];
    const std::string which =
        index == 0
            ? std::string()
            : ManualText(
                  "Whether a second interface is used is not stored: the window's Parameters dialog asks, and vnxtest-cli uses it when one of its options is given.");
    return fmt::format(".SS Interface {}\n", index + 1) + which +
           Entry(names.tapMode,
                 fmt::format(
                     "1 for TAP mode (Ethernet frames), 0 for TUN mode (IP packets). The default is {}.",
                     index)) +
           Entry(names.adapterIp,
                 "IPv4 address of the host adapter. The default is that of the host's default adapter.") +
           Entry(names.adapterMac,
                 "MAC address of the host adapter, in place of its IPv4 address. By default there is none.") +
           Entry(
               names.guestIp,
               fmt::format("The guest's IPv4 address. The default is host number {} of the adapter's subnet.",
                           kGuestHostNumbers[index])) +
           Entry(names.guestMac, "The guest's MAC address. The default is made from its IPv4 address.");
}

std::string PingValues() {
    return ".SS The ping test\n" +
           Entry(profile::kWhoPingName, "The last target as it was typed: a host name or an IPv4 address.") +
           Entry(
               profile::kWhoPingIpAddr,
               "The address of that target as a number whose lowest byte is the first one: 16777343 is 127.0.0.1. The default, and 0, mean " +
                   ToUtf8(FormatIPAddr(kDefaultPingTarget)) + ".") +
           Entry(profile::kPingDataSize, "Data bytes of each ping", kPingSizeRange) +
           Entry(profile::kNumPings, "Number of pings", kPingCountRange) +
           Entry(profile::kPingTimeout, "Milliseconds to wait for each reply", kPingTimeoutRange) +
           Entry(profile::kPingDelay, "Milliseconds between two pings", kPingDelayRange);
}

std::string DebugValues() {
    return ".SS Debugging\n" + Entry(profile::kDebugMode, "1 shows debug messages; 0 is the default.") +
           Entry(
               profile::kDebugFlags,
               fmt::format(
                   "Which of the library's debug messages are shown: the bits that --debug of vnxtest-cli stores, by default 0x{:08X}.",
                   kDefaultDebugFlags)) +
           Entry(profile::kSocketNotifyMode,
                 "1 waits for packets on a socket, 0 (the default) by a timed read.");
}

} // namespace

void AddProfile(Fillings& fillings) {
    fillings["PROFILE_VALUES"] = InterfaceValues(0) + InterfaceValues(1) + PingValues() + DebugValues();
    fillings["SETTINGS"] = ToUtf8(kProfileSections[static_cast<std::size_t>(ProfileSection::Settings)]);
    fillings["SIMULATED"] = ToUtf8(kProfileSections[static_cast<std::size_t>(ProfileSection::SimulatedLan)]);
}

} // namespace vnxtest
