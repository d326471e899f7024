#include "cli/options/dialog_answers.h"

#include "cli/report/adapter_list.h"
#include "core/interface_helpers.h"
#include "hostnet/adapter_choice.h"
#include "settings/derived_address.h"
#include "settings/profile_names.h"
#include "wrenlib/format.h"

namespace vnxtest {

namespace {

// The suffixes of the two interfaces' options.
constexpr const wchar_t* kSuffixes[] = {L"", L"2"};

std::wstring WithAdapters(const std::wstring& text, const HostNetwork& host) {
    return text + L"\n" + AdapterTable(host);
}

// The MAC address made from the guest address `text`; empty if that is not one.
std::wstring GeneratedMac(const std::wstring& text, VnetxLibrary& library) {
    const auto ip = ParseIPAddress(text);
    return ip ? FormatMACAddr(GuestMacOf(library, *ip)) : L"";
}

// The adapter that the texts name; null if none.
const HostAdapter* PresentAdapter(const InterfaceParameters& texts, const HostNetwork& host) {
    return FindAdapter(host, texts.adapterIpText.empty() ? texts.adapterMacText : texts.adapterIpText);
}

bool IsInSubnet(const std::wstring& text, const HostAdapter& adapter) {
    const auto ip = ParseIPAddress(text);
    return ip && (*ip & adapter.mask) == (adapter.address & adapter.mask);
}

class InterfaceAnswer {
public:
    InterfaceAnswer(const Options& options, const AnswerSources& sources, std::size_t index)
        : m_options(options), m_given(index == 0 ? options.interface1 : options.interface2),
          m_host(sources.host), m_library(sources.library), m_profile(sources.profile), m_index(index),
          m_suffix(kSuffixes[index]) {}

    std::optional<std::wstring> Apply(InterfaceParameters& texts, std::vector<std::wstring>& notes) {
        texts.tapMode = m_given.tapMode.value_or(texts.tapMode);
        // A generated MAC address follows the guest's address.
        const bool macIsGenerated = texts.guestMacText == GeneratedMac(texts.guestIpText, m_library);
        const std::wstring guestIpBefore = texts.guestIpText;
        if (m_given.adapter) {
            if (auto refusal = ApplyAdapter(texts, notes)) {
                return refusal;
            }
        }
        texts.guestIpText = m_given.guestIp.value_or(texts.guestIpText);
        if (m_given.guestMac) {
            texts.guestMacText = *m_given.guestMac;
        } else if (macIsGenerated && texts.guestIpText != guestIpBefore) {
            texts.guestMacText.clear();
        }
        return std::nullopt;
    }

private:
    std::optional<std::wstring> ApplyAdapter(InterfaceParameters& texts, std::vector<std::wstring>& notes) {
        const HostAdapter* const adapter = FindAdapter(m_host, *m_given.adapter);
        if (adapter == nullptr) {
            const wchar_t* reason = L"No such host adapter exists with this name.";
            if (ParseIPAddress(*m_given.adapter)) {
                reason = kNoAdapterWithIp;
            } else if (ParseMACAddress(*m_given.adapter)) {
                reason = kNoAdapterWithMac;
            }
            return WithAdapters(
                Sprintf(L"--adapter%s %s: %s There are:", m_suffix, *m_given.adapter, std::wstring(reason)),
                m_host);
        }
        const HostAdapter* const simulated = m_host.DefaultAdapter();
        if (m_options.IsSimulated() && simulated != nullptr && adapter->mac != simulated->mac) {
            return Sprintf(
                L"--adapter%s: the simulated LAN has one adapter only, %s. Leave the option out, or choose another library than sim.",
                m_suffix, m_host.DefaultAdapterIpText());
        }
        if (const HostAdapter* const opened = OpenedFor(m_host, *adapter); opened != adapter) {
            return WithAdapters(
                Sprintf(
                    L"--adapter%s %s: An adapter is opened by its IP address and without one by its MAC address, and that is the address of %s, too. Choose %s, or give %s an IP address. There are:",
                    m_suffix, *m_given.adapter, AdapterDisplayName(*opened), AdapterDisplayName(*opened),
                    *m_given.adapter),
                m_host);
        }
        const bool changed = adapter != PresentAdapter(texts, m_host);
        const bool byAddress = !adapter->address.IsZero() && !ParseMACAddress(*m_given.adapter);
        texts.adapterIpText = byAddress ? FormatIPAddr(adapter->address) : L"";
        texts.adapterMacText = byAddress ? L"" : FormatMACAddr(adapter->mac);
        if (changed && !m_given.guestIp && !adapter->address.IsZero() &&
            !IsInSubnet(texts.guestIpText, *adapter)) {
            DeriveGuestAddress(texts, *adapter, notes);
        }
        return std::nullopt;
    }

    void DeriveGuestAddress(InterfaceParameters& texts, const HostAdapter& adapter,
                            std::vector<std::wstring>& notes) {
        const std::wstring derived =
            FormatIPAddr(DerivedGuestAddress(m_index, adapter.address, adapter.mask));
        if (!m_profile.ReadText(profile::kInterfaces[m_index].guestIp, L"").empty()) {
            notes.push_back(Sprintf(
                L"The guest address %s of the profile is not in the subnet of the adapter \"%s\": %s is used. Give another one with --guest-ip%s.",
                texts.guestIpText, *m_given.adapter, derived, m_suffix));
        }
        texts.guestIpText = derived;
    }

    const Options& m_options;
    const InterfaceOptions& m_given;
    const HostNetwork& m_host;
    VnetxLibrary& m_library;
    Profile& m_profile;
    const std::size_t m_index;
    const std::wstring m_suffix;
};

std::wstring DescribeRefusal(const ParameterRefusal& refusal, const HostNetwork& host) {
    const wchar_t* const suffix = kSuffixes[refusal.interfaceIndex];
    const bool adapter =
        refusal.field == ParameterField::AdapterIp || refusal.field == ParameterField::AdapterMac;
    const wchar_t* option = L"--adapter";
    if (!adapter) {
        option = refusal.field == ParameterField::GuestIp ? L"--guest-ip" : L"--guest-mac";
    }
    const std::wstring text =
        Sprintf(L"interface %d: %s: %s\nGive another value with %s%s.", refusal.interfaceIndex + 1,
                refusal.title, refusal.text, std::wstring(option), std::wstring(suffix));
    return adapter ? WithAdapters(text + L" The host adapters are:", host) : text;
}

// The value `name` of the profile, when the dialog would take it.
std::uint32_t InRange(std::uint32_t value, const NumberRange& range, std::wstring_view name,
                      DialogAnswer& answer) {
    if (range.Holds(value)) {
        return value;
    }
    answer.notes.push_back(
        Sprintf(L"The value %s of the profile is %u, which is not within %u to %u: %u is used.",
                std::wstring(name), value, range.lowest, range.highest, range.standard));
    return range.standard;
}

} // namespace

DialogAnswer AnswerParameters(const Options& options, const AnswerSources& sources,
                              GuestParameters& parameters) {
    DialogAnswer answer;
    parameters.useTwoInterfaces = options.UsesTwoInterfaces();
    parameters.store = options.save;
    answer.refusal = InterfaceAnswer(options, sources, 0).Apply(parameters.interface1, answer.notes);
    if (!answer.refusal && parameters.useTwoInterfaces) {
        answer.refusal = InterfaceAnswer(options, sources, 1).Apply(parameters.interface2, answer.notes);
    }
    if (!answer.refusal) {
        if (const auto refusal = CheckParameters(parameters, sources.host, sources.library)) {
            answer.refusal = DescribeRefusal(*refusal, sources.host);
        }
    }
    return answer;
}

DialogAnswer AnswerPingWho(const Options& options, Ipv4Address address, PingWhoParameters& parameters) {
    DialogAnswer answer;
    parameters.fromInterface = options.fromInterface.value_or(1) - 1;
    PingPlan& plan = parameters.plan;
    plan.targetName = options.target;
    plan.target = address;
    parameters.store = options.save;
    const auto choose = [&answer](const std::optional<std::uint32_t>& given, std::uint32_t& value,
                                  const NumberRange& range, std::wstring_view name) {
        value = given ? *given : InRange(value, range, name, answer);
    };
    choose(options.dataSize, plan.dataSize, kPingSizeRange, profile::kPingDataSize);
    choose(options.count, plan.numPings, kPingCountRange, profile::kNumPings); // 0 passes if it was given
    choose(options.timeout, plan.timeout, kPingTimeoutRange, profile::kPingTimeout);
    choose(options.delay, plan.delay, kPingDelayRange, profile::kPingDelay);
    return answer;
}

void AnswerRunSettings(const Options& options, RunSettings& run) {
    run.driverBufferSize = options.driverBufferSize.value_or(run.driverBufferSize);
    run.dllBufferSize = options.dllBufferSize.value_or(run.dllBufferSize);
    run.socketNotifyMode = options.socketNotify.value_or(run.socketNotifyMode);
    if (options.debug) {
        run.debugMode = options.debug->enabled;
        run.debugFlags = options.debug->flags.value_or(run.debugFlags);
    }
}

std::wstring DescribeWarning(const ProceedQuestion& question) {
    return Sprintf(L"%s: %s\n%s\n\n%s", std::wstring(question.title), std::wstring(question.mainInstruction),
                   std::wstring(question.expandedInformation), std::wstring(question.content));
}

} // namespace vnxtest
