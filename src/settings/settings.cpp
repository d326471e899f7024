#include "settings/settings.h"

#include "core/output_channel.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

namespace {

// The value names of one interface.
struct InterfaceNames {
    std::wstring_view tapMode;
    std::wstring_view guestIp;
    std::wstring_view adapterIp;
    std::wstring_view guestMac;
    std::wstring_view adapterMac;
};

constexpr InterfaceNames kInterface1 = {L"Interface1_bTAPMode", L"Interface1_strInterface_IPAddr",
                                        L"Interface1_strAdapter_IPAddr", L"Interface1_strInterface_MACAddr",
                                        L"Interface1_strAdapter_MACAddr"};
constexpr InterfaceNames kInterface2 = {L"Interface2_bTAPMode", L"Interface2_strInterface_IPAddr",
                                        L"Interface2_strAdapter_IPAddr", L"Interface2_strInterface_MACAddr",
                                        L"Interface2_strAdapter_MACAddr"};

constexpr std::wstring_view kDebugFlags = L"DebugFlags";
constexpr std::wstring_view kDebugMode = L"DebugMode";
constexpr std::wstring_view kSocketNotifyMode = L"SocketNotifyMode";
constexpr std::wstring_view kWhoPingIpAddr = L"WhoPingIPAddr";
constexpr std::wstring_view kWhoPingName = L"WhoPingName";
constexpr std::wstring_view kPingDataSize = L"PingDataSize";
constexpr std::wstring_view kNumPings = L"NumPings";
constexpr std::wstring_view kPingTimeout = L"PingTimeout";
constexpr std::wstring_view kPingDelay = L"PingDelay";

// The host numbers of the guests in their adapter's subnet.
constexpr Ipv4Address kHostNumber1 = Ipv4Address::FromHost(111);
constexpr Ipv4Address kHostNumber2 = Ipv4Address::FromHost(222);

void ApplyGuestIp(INTERFACE_INFO& info) {
    if (!info.guestIpText.empty()) {
        const std::optional<Ipv4Address> address = ParseIPAddress(info.guestIpText);
        if (Verify(address.has_value())) {
            info.guestIp = *address;
        }
    }
}

void ApplyAdapterIp(INTERFACE_INFO& info) {
    if (!info.adapterIpText.empty()) {
        const std::optional<Ipv4Address> address = ParseIPAddress(info.adapterIpText);
        if (Verify(address.has_value())) {
            info.adapterIp = *address;
        }
    }
}

void ApplyMac(const std::wstring& text, MacAddress& mac) {
    if (!text.empty()) {
        const std::optional<MacAddress> address = ParseMACAddress(text);
        if (Verify(address.has_value())) {
            mac = *address;
        }
    }
}

void ResetForLoading(INTERFACE_INFO& info) {
    if (Verify(info.handle == -1)) {
        info.Reset();
    }
}

void SetDerivedTexts(INTERFACE_INFO& info, const HostAdapter& adapter, Ipv4Address hostNumber) {
    info.adapterIpText = FormatIPAddr(adapter.address);
    info.guestIp = (adapter.address & adapter.mask) | (hostNumber & ~adapter.mask);
    info.guestIpText = FormatIPAddr(info.guestIp);
}

void GenerateGuestMac(INTERFACE_INFO& info, VnetxLibrary& library) {
    std::array<std::uint8_t, 6> mac{};
    library.BuildVantIfaceMac(mac.data(), info.guestIp.Bytes().data());
    info.guestMac = MacAddress(mac);
    info.guestMacText = FormatMACAddr(info.guestMac);
}

} // namespace

void ApplyInterfaceSettings(INTERFACE_INFO& interface1, INTERFACE_INFO& interface2) {
    for (INTERFACE_INFO* info : {&interface1, &interface2}) {
        ApplyGuestIp(*info);
        ApplyMac(info->guestMacText, info->guestMac);
    }
    for (INTERFACE_INFO* info : {&interface1, &interface2}) {
        ApplyAdapterIp(*info);
        ApplyMac(info->adapterMacText, info->adapterMac);
    }
}

void Settings::LoadInterfaceSettings(INTERFACE_INFO& interface1, INTERFACE_INFO& interface2,
                                     HostNetwork& host) {
    if (m_interfacesLoaded) {
        return;
    }
    m_interfacesLoaded = true;

    ResetForLoading(interface1);
    ResetForLoading(interface2);

    interface1.tapMode = m_profile.ReadNumber(kInterface1.tapMode, 0) != 0;
    interface2.tapMode = m_profile.ReadNumber(kInterface2.tapMode, 1) != 0;

    if (const HostAdapter* adapter = host.DefaultAdapter()) {
        SetDerivedTexts(interface1, *adapter, kHostNumber1);
        SetDerivedTexts(interface2, *adapter, kHostNumber2);
    } else {
        interface1.adapterIpText = L"192.168.0.1";
        interface2.adapterIpText = L"192.168.0.1";
        interface1.guestIpText = L"192.168.0.111";
        interface2.guestIpText = L"192.168.0.222";
    }

    const auto read = [this](std::wstring_view name, std::wstring& text) {
        text = MakeVisible(m_profile.ReadText(name, text));
    };
    read(kInterface1.adapterIp, interface1.adapterIpText);
    read(kInterface2.adapterIp, interface2.adapterIpText);
    read(kInterface1.guestIp, interface1.guestIpText);
    read(kInterface2.guestIp, interface2.guestIpText);

    // The binary guest addresses must follow what was read, for the MAC addresses come from them.
    ApplyInterfaceSettings(interface1, interface2);
    GenerateGuestMac(interface1, host.Library());
    GenerateGuestMac(interface2, host.Library());

    read(kInterface1.adapterMac, interface1.adapterMacText);
    read(kInterface2.adapterMac, interface2.adapterMacText);
    read(kInterface1.guestMac, interface1.guestMacText);
    read(kInterface2.guestMac, interface2.guestMacText);
}

void Settings::StoreInterfaceSettings(const INTERFACE_INFO& interface1, const INTERFACE_INFO& interface2) {
    const auto store = [this](const InterfaceNames& names, const INTERFACE_INFO& info) {
        Verify(m_profile.WriteNumber(names.tapMode, info.tapMode ? 1 : 0));
        Verify(m_profile.WriteText(names.guestIp, info.guestIpText));
        Verify(m_profile.WriteText(names.adapterIp, info.adapterIpText));
        Verify(m_profile.WriteText(names.guestMac, info.guestMacText));
        Verify(m_profile.WriteText(names.adapterMac, info.adapterMacText));
    };
    store(kInterface1, interface1);
    store(kInterface2, interface2);
}

void Settings::ReadDebugSettings(RunSettings& settings) {
    settings.debugFlags = m_profile.ReadNumber(kDebugFlags, kDefaultDebugFlags);
    settings.debugMode = m_profile.ReadNumber(kDebugMode, 0) != 0;
    settings.socketNotifyMode = m_profile.ReadNumber(kSocketNotifyMode, 0) != 0;
}

void Settings::StoreDebugSettings(const RunSettings& settings) {
    Verify(m_profile.WriteNumber(kDebugMode, settings.debugMode ? 1 : 0));
    Verify(m_profile.WriteNumber(kDebugFlags, settings.debugFlags));
}

void Settings::StoreSocketNotifyMode(const RunSettings& settings) {
    Verify(m_profile.WriteNumber(kSocketNotifyMode, settings.socketNotifyMode ? 1 : 0));
}

void Settings::LoadPingSettings(PingSettings& settings) {
    if (m_pingLoaded) {
        return;
    }
    m_pingLoaded = true;

    const std::uint32_t target = m_profile.ReadNumber(kWhoPingIpAddr, 0);
    settings.whoPingName = MakeVisible(m_profile.ReadText(kWhoPingName, settings.whoPingName));
    settings.dataSize = m_profile.ReadNumber(kPingDataSize, settings.dataSize);
    settings.numPings = m_profile.ReadNumber(kNumPings, settings.numPings);
    settings.timeout = m_profile.ReadNumber(kPingTimeout, settings.timeout);
    settings.delay = m_profile.ReadNumber(kPingDelay, settings.delay);
    if (target != 0) {
        settings.whoPingIpAddr = Ipv4Address::FromMemory(target);
    }
    if (settings.whoPingName.empty()) {
        settings.whoPingName = FormatIPAddr(settings.whoPingIpAddr);
    }
}

void Settings::StorePingSettings(const PingSettings& settings) {
    Verify(m_profile.WriteNumber(kWhoPingIpAddr, settings.whoPingIpAddr.Memory()));
    Verify(m_profile.WriteText(kWhoPingName, settings.whoPingName));
    Verify(m_profile.WriteNumber(kPingDataSize, settings.dataSize));
    Verify(m_profile.WriteNumber(kNumPings, settings.numPings));
    Verify(m_profile.WriteNumber(kPingTimeout, settings.timeout));
    Verify(m_profile.WriteNumber(kPingDelay, settings.delay));
}

} // namespace vnxtest
