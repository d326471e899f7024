// The terminal program's answers to the window's dialogs: from the command line, the profile and the host.
//
// Works on values and prints nothing. A refusal is a text for standard error that says what is wrong and
// which option mends it; notes are information that is no refusal. Main thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/options/options.h"
#include "core/run_settings.h"
#include "guest/parameters_check.h"
#include "platform/files/profile.h"

namespace vnxtest {

// What the answers are made from, beside the command line.
struct AnswerSources {
    const HostNetwork& host;
    VnetxLibrary& library;
    Profile& profile;
};

struct DialogAnswer {
    std::optional<std::wstring> refusal;
    std::vector<std::wstring> notes;
};

// The parameters dialog: `parameters` holds the profile's values and their derived defaults; the command
// line's replace them, checked and completed. An adapter of the command line gets a guest address of its
// own subnet if none was given.
DialogAnswer AnswerParameters(const Options& options, const AnswerSources& sources,
                              GuestParameters& parameters);

// The ping-who dialog; `address` is the resolved target of the command line. A number of the profile that
// the dialog would refuse is replaced by its default.
DialogAnswer AnswerPingWho(const Options& options, Ipv4Address address, PingWhoParameters& parameters);

// What the options say over the settings that `run` comes with: buffers, socket-notify mode, debug messages.
void AnswerRunSettings(const Options& options, RunSettings& run);

// The question before the start, as it is shown without --proceed.
std::wstring DescribeWarning(const ProceedQuestion& question);

} // namespace vnxtest
