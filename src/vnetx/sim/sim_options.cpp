#include "vnetx/sim/sim_options.h"

#include <array>
#include <set>

#include "wrenlib/format.h"
#include "wrenlib/text.h"

namespace vnxtest {

namespace {

constexpr double kMaximumMilliseconds = 60000;

struct RealOption {
    std::wstring_view name;
    double SimOptions::*member;
    double maximum;
    std::wstring_view unit;
};

constexpr std::array<RealOption, 12> kRealOptions{{
    {L"loss", &SimOptions::loss, 100, L"percent"},
    {L"dup", &SimOptions::dup, 100, L"percent"},
    {L"late", &SimOptions::late, 100, L"percent"},
    {L"df", &SimOptions::df, 100, L"percent"},
    {L"reorder", &SimOptions::reorder, 100, L"percent"},
    {L"corrupt", &SimOptions::corrupt, 100, L"percent"},
    {L"truncate", &SimOptions::truncate, 100, L"percent"},
    {L"foreign", &SimOptions::foreign, 100, L"percent"},
    {L"delay", &SimOptions::delay, kMaximumMilliseconds, L"milliseconds"},
    {L"jitter", &SimOptions::jitter, kMaximumMilliseconds, L"milliseconds"},
    {L"lateby", &SimOptions::lateBy, kMaximumMilliseconds, L"milliseconds"},
    {L"pinger", &SimOptions::pinger, kMaximumMilliseconds, L"milliseconds"},
}};

constexpr std::uint32_t kLeastMtu = 68; // required of every link (RFC 791)
constexpr std::uint32_t kGreatestMtu = 65535;

constexpr std::wstring_view kKnownOptions =
    L"It knows loss, dup, late, df, reorder, corrupt, truncate and foreign (percent, 0 to 100), delay, jitter, lateby and pinger (milliseconds, 0 to 60000), mtu (68 to 65535) and seed (a whole number); for example \"sim:loss=5,delay=20,seed=7\".";

// Digits only; nullopt if it is anything else or exceeds 64 bits.
std::optional<std::uint64_t> ParseWhole(std::wstring_view text) {
    std::uint64_t value = 0;
    if (text.empty()) {
        return std::nullopt;
    }
    for (const wchar_t c : text) {
        if (c < L'0' || c > L'9') {
            return std::nullopt;
        }
        const auto digit = static_cast<std::uint64_t>(c - L'0');
        if (value > (UINT64_MAX - digit) / 10) {
            return std::nullopt;
        }
        value = value * 10 + digit;
    }
    return value;
}

// Digits, and perhaps a point with digits behind it; no sign, no exponent, no locale.
std::optional<double> ParseReal(std::wstring_view text) {
    const std::size_t point = text.find(L'.');
    const auto whole = ParseWhole(text.substr(0, point));
    if (!whole) {
        return std::nullopt;
    }
    auto value = static_cast<double>(*whole);
    if (point != std::wstring_view::npos) {
        const std::wstring_view digits = text.substr(point + 1);
        const auto fraction = ParseWhole(digits);
        if (!fraction) {
            return std::nullopt;
        }
        double scale = 1;
        for (std::size_t i = 0; i < digits.size(); ++i) {
            scale *= 10;
        }
        value += static_cast<double>(*fraction) / scale;
    }
    return value;
}

NoValue Refuse(std::wstring_view name, std::wstring_view value, const std::wstring& allowed) {
    return Refused(Sprintf(L"The option \"%s\" of the simulated LAN is \"%s\"; it must be %s.",
                           std::wstring(name), std::wstring(value), allowed));
}

// Takes one "name=value" into `options`.
Result<void> TakeOption(SimOptions& options, std::wstring_view name, std::wstring_view value) {
    for (const RealOption& option : kRealOptions) {
        if (name == option.name) {
            const auto number = ParseReal(value);
            if (!number || *number > option.maximum) {
                return Refuse(name, value,
                              Sprintf(L"a number from 0 to %d (%s)", static_cast<int>(option.maximum),
                                      std::wstring(option.unit)));
            }
            options.*option.member = *number;
            return {};
        }
    }
    if (name == L"mtu") {
        const auto number = ParseWhole(value);
        if (!number || *number < kLeastMtu || *number > kGreatestMtu) {
            return Refuse(name, value,
                          Sprintf(L"a whole number from %u to %u (bytes)", kLeastMtu, kGreatestMtu));
        }
        options.mtu = static_cast<std::uint32_t>(*number);
        return {};
    }
    if (name == L"seed") {
        const auto number = ParseWhole(value);
        if (!number) {
            return Refuse(name, value, L"a whole number from 0 to 18446744073709551615");
        }
        options.seed = *number;
        return {};
    }
    return Refused(Sprintf(L"The simulated LAN has no option \"%s\". %s", std::wstring(name),
                           std::wstring(kKnownOptions)));
}

} // namespace

Result<SimOptions> ParseSimOptions(std::wstring_view text) {
    SimOptions options;
    if (TrimBlanks(text).empty()) {
        return options;
    }
    std::set<std::wstring> given;
    while (true) {
        const std::size_t comma = text.find(L',');
        const std::wstring item = TrimBlanks(text.substr(0, comma));
        const std::size_t equals = item.find(L'=');
        if (equals == std::wstring::npos || equals == 0) {
            return Refused(Sprintf(L"\"%s\" is no option of the simulated LAN: name=value is expected. %s",
                                   item, std::wstring(kKnownOptions)));
        }
        const std::wstring name = TrimBlanks(std::wstring_view(item).substr(0, equals));
        const std::wstring value = TrimBlanks(std::wstring_view(item).substr(equals + 1));
        if (auto taken = TakeOption(options, name, value); !taken) {
            return PassOn(taken);
        }
        if (!given.insert(name).second) {
            return Refused(Sprintf(L"The option \"%s\" of the simulated LAN is given twice.", name));
        }
        if (comma == std::wstring_view::npos) {
            return options;
        }
        text.remove_prefix(comma + 1);
    }
}

} // namespace vnxtest
