#include "cli/run_profile.h"

#include <algorithm>

#include "cli/adapter_list.h"

namespace vnxtest {

void RunProfile::LeaveOutRealAddresses(const HostNetwork& host) {
    const ADAPTER_INFO_LIST_ENTRY* const simulated = host.DefaultAdapter();
    for (std::size_t index = 0; index < m_leftOut.size(); ++index) {
        const std::wstring prefix = index == 0 ? L"Interface1_str" : L"Interface2_str";
        const std::wstring ip = m_profile.ReadText(prefix + L"Adapter_IPAddr", L"");
        const std::wstring mac = m_profile.ReadText(prefix + L"Adapter_MACAddr", L"");
        const bool isSimulated =
            simulated != nullptr &&
            (ip.empty() ? ParseMACAddress(mac) == AdapterMac(*simulated)
                        : ParseIPAddress(ip) == Ipv4Address::FromMemory(simulated->IPAddr));
        if (isSimulated) {
            continue;
        }
        for (const wchar_t* value :
             {L"Adapter_IPAddr", L"Adapter_MACAddr", L"Interface_IPAddr", L"Interface_MACAddr"}) {
            m_leftOut[index] = m_leftOut[index] || !m_profile.ReadText(prefix + value, L"").empty();
            m_hidden.push_back(prefix + value);
        }
    }
}

std::uint32_t RunProfile::ReadNumber(std::wstring_view name, std::uint32_t defaultValue) {
    return m_profile.ReadNumber(name, defaultValue);
}

std::wstring RunProfile::ReadText(std::wstring_view name, std::wstring_view defaultValue) {
    const bool hidden = std::ranges::find(m_hidden, name) != m_hidden.end();
    return hidden ? std::wstring(defaultValue) : m_profile.ReadText(name, defaultValue);
}

bool RunProfile::Count(bool written) {
    m_failedWrites += written ? 0 : 1;
    return written;
}

bool RunProfile::WriteNumber(std::wstring_view name, std::uint32_t value) {
    return Count(m_profile.WriteNumber(name, value));
}

bool RunProfile::WriteText(std::wstring_view name, std::wstring_view value) {
    return Count(m_profile.WriteText(name, value));
}

} // namespace vnxtest
