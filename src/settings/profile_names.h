// The names of the values in the profile. Users find them there, and messages quote them.
#pragma once

#include <array>
#include <string_view>

namespace vnxtest::profile {

// The values of one interface.
struct InterfaceNames {
    std::wstring_view tapMode;
    std::wstring_view guestIp;
    std::wstring_view adapterIp;
    std::wstring_view guestMac;
    std::wstring_view adapterMac;
};

inline constexpr std::array<InterfaceNames, 2> kInterfaces = {{
    {L"Interface1_bTAPMode", L"Interface1_strInterface_IPAddr", L"Interface1_strAdapter_IPAddr",
     L"Interface1_strInterface_MACAddr", L"Interface1_strAdapter_MACAddr"},
    {L"Interface2_bTAPMode", L"Interface2_strInterface_IPAddr", L"Interface2_strAdapter_IPAddr",
     L"Interface2_strInterface_MACAddr", L"Interface2_strAdapter_MACAddr"},
}};

inline constexpr std::wstring_view kDebugFlags = L"DebugFlags";
inline constexpr std::wstring_view kDebugMode = L"DebugMode";
inline constexpr std::wstring_view kSocketNotifyMode = L"SocketNotifyMode";

inline constexpr std::wstring_view kWhoPingIpAddr = L"WhoPingIPAddr";
inline constexpr std::wstring_view kWhoPingName = L"WhoPingName";
inline constexpr std::wstring_view kPingDataSize = L"PingDataSize"; // bytes
inline constexpr std::wstring_view kNumPings = L"NumPings";
inline constexpr std::wstring_view kPingTimeout = L"PingTimeout"; // milliseconds
inline constexpr std::wstring_view kPingDelay = L"PingDelay";     // milliseconds

} // namespace vnxtest::profile
