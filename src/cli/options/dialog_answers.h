// How the terminal program answers what the window asks in dialogs: from the command line, the
// profile and what can be derived from the host.
//
// Everything here works on values; nothing is printed. A refusal is a text for standard error that
// says what is wrong and which option mends it; notes are what the user should know although it is
// not wrong.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/options/options.h"
#include "guest/front_end.h"
#include "hostnet/host_network.h"
#include "platform/files/profile.h"

namespace vnxtest {

struct DialogAnswer {
    std::optional<std::wstring> refusal;
    std::vector<std::wstring> notes;
};

// The parameters dialog: `parameters` comes with the profile's values and their derived defaults and
// leaves with the command line's over them, checked and completed. An adapter that was chosen on the
// command line gets a guest address of its own subnet when none was given.
DialogAnswer AnswerParameters(const Options& options, const HostNetwork& host, Profile& profile,
                              GuestParameters& parameters);

// The ping-who dialog; `address` is what the target of the command line resolved to. A number of the
// profile that the dialog would not take is replaced by its default.
DialogAnswer AnswerPingWho(const Options& options, Ipv4Address address, PingWhoParameters& parameters);

// The question before the start, as it is shown without --proceed.
std::wstring DescribeWarning(const ProceedQuestion& question);

} // namespace vnxtest
