#include "settings/settings.h"

#include "settings/profile_names.h"
#include "wrenlib/log.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {

namespace {

// The adapter without a default adapter.
constexpr AdapterSubnet kUsualAdapter{{192, 168, 0, 1}, {255, 255, 255, 0}};

void ApplyGuestIp(INTERFACE_INFO& info) {
    if (!info.asked.guestIpText.empty()) {
        const std::optional<Ipv4Address> address = ParseIPAddress(info.asked.guestIpText);
        if (Verify(address.has_value())) {
            info.addresses.guestIp = *address;
        }
    }
}

void ApplyAdapterIp(INTERFACE_INFO& info) {
    if (!info.asked.adapterIpText.empty()) {
        const std::optional<Ipv4Address> address = ParseIPAddress(info.asked.adapterIpText);
        if (Verify(address.has_value())) {
            info.addresses.adapterIp = *address;
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
    if (Verify(info.open.Handle() == -1)) {
        info.Reset();
    }
}

void SetDerivedTexts(INTERFACE_INFO& info, std::size_t index, const std::optional<AdapterSubnet>& known) {
    const AdapterSubnet adapter = known.value_or(kUsualAdapter);
    const Ipv4Address guest = DerivedGuestAddress(index, adapter.address, adapter.mask);
    if (known) {
        info.addresses.guestIp = guest;
    }
    info.asked.adapterIpText = FormatIPAddr(adapter.address);
    info.asked.guestIpText = FormatIPAddr(guest);
}

} // namespace

void ApplyInterfaceSettings(INTERFACE_INFO& interface1, INTERFACE_INFO& interface2) {
    for (INTERFACE_INFO* info : {&interface1, &interface2}) {
        ApplyGuestIp(*info);
        ApplyMac(info->asked.guestMacText, info->addresses.guestMac);
    }
    for (INTERFACE_INFO* info : {&interface1, &interface2}) {
        ApplyAdapterIp(*info);
        ApplyMac(info->asked.adapterMacText, info->addresses.adapterMac);
    }
}

void Settings::LoadInterfaceSettings(INTERFACE_INFO& interface1, INTERFACE_INFO& interface2,
                                     const AddressSources& sources) {
    if (m_interfacesLoaded) {
        return;
    }
    m_interfacesLoaded = true;

    ResetForLoading(interface1);
    ResetForLoading(interface2);

    interface1.asked.tapMode = m_profile.ReadNumber(profile::kInterfaces[0].tapMode, 0) != 0;
    interface2.asked.tapMode = m_profile.ReadNumber(profile::kInterfaces[1].tapMode, 1) != 0;

    SetDerivedTexts(interface1, 0, sources.defaultAdapter);
    SetDerivedTexts(interface2, 1, sources.defaultAdapter);

    const auto read = [this](std::wstring_view name, std::wstring& text) {
        text = MakeVisible(m_profile.ReadText(name, text));
    };
    read(profile::kInterfaces[0].adapterIp, interface1.asked.adapterIpText);
    read(profile::kInterfaces[1].adapterIp, interface2.asked.adapterIpText);
    read(profile::kInterfaces[0].guestIp, interface1.asked.guestIpText);
    read(profile::kInterfaces[1].guestIp, interface2.asked.guestIpText);

    // The default MAC addresses are made from the binary guest addresses, so these are set first.
    ApplyInterfaceSettings(interface1, interface2);
    for (INTERFACE_INFO* info : {&interface1, &interface2}) {
        info->addresses.guestMac = sources.guestMac(info->addresses.guestIp);
        info->asked.guestMacText = FormatMACAddr(info->addresses.guestMac);
    }

    read(profile::kInterfaces[0].adapterMac, interface1.asked.adapterMacText);
    read(profile::kInterfaces[1].adapterMac, interface2.asked.adapterMacText);
    read(profile::kInterfaces[0].guestMac, interface1.asked.guestMacText);
    read(profile::kInterfaces[1].guestMac, interface2.asked.guestMacText);
}

void Settings::StoreInterfaceSettings(const InterfaceParameters& interface1,
                                      const InterfaceParameters& interface2) {
    const auto store = [this](const profile::InterfaceNames& names, const InterfaceParameters& asked) {
        Verify(m_profile.WriteNumber(names.tapMode, asked.tapMode ? 1 : 0));
        Verify(m_profile.WriteText(names.guestIp, asked.guestIpText));
        Verify(m_profile.WriteText(names.adapterIp, asked.adapterIpText));
        Verify(m_profile.WriteText(names.guestMac, asked.guestMacText));
        Verify(m_profile.WriteText(names.adapterMac, asked.adapterMacText));
    };
    store(profile::kInterfaces[0], interface1);
    store(profile::kInterfaces[1], interface2);
}

void Settings::ReadDebugSettings(RunSettings& settings) {
    settings.debugFlags = m_profile.ReadNumber(profile::kDebugFlags, kDefaultDebugFlags);
    settings.debugMode = m_profile.ReadNumber(profile::kDebugMode, 0) != 0;
    settings.socketNotifyMode = m_profile.ReadNumber(profile::kSocketNotifyMode, 0) != 0;
}

void Settings::StoreDebugSettings(const RunSettings& settings) {
    Verify(m_profile.WriteNumber(profile::kDebugMode, settings.debugMode ? 1 : 0));
    Verify(m_profile.WriteNumber(profile::kDebugFlags, settings.debugFlags));
}

void Settings::StoreSocketNotifyMode(const RunSettings& settings) {
    Verify(m_profile.WriteNumber(profile::kSocketNotifyMode, settings.socketNotifyMode ? 1 : 0));
}

void Settings::LoadPingSettings(PingPlan& plan) {
    if (m_pingLoaded) {
        return;
    }
    m_pingLoaded = true;

    const std::uint32_t target = m_profile.ReadNumber(profile::kWhoPingIpAddr, 0);
    plan.targetName = MakeVisible(m_profile.ReadText(profile::kWhoPingName, plan.targetName));
    plan.dataSize = m_profile.ReadNumber(profile::kPingDataSize, plan.dataSize);
    plan.numPings = m_profile.ReadNumber(profile::kNumPings, plan.numPings);
    plan.timeout = m_profile.ReadNumber(profile::kPingTimeout, plan.timeout);
    plan.delay = m_profile.ReadNumber(profile::kPingDelay, plan.delay);
    if (target != 0) {
        plan.target = Ipv4Address::FromMemory(target);
    }
    if (plan.targetName.empty()) {
        plan.targetName = FormatIPAddr(plan.target);
    }
}

void Settings::StorePingSettings(const PingPlan& plan) {
    Verify(m_profile.WriteNumber(profile::kWhoPingIpAddr, plan.target.Memory()));
    Verify(m_profile.WriteText(profile::kWhoPingName, plan.targetName));
    Verify(m_profile.WriteNumber(profile::kPingDataSize, plan.dataSize));
    Verify(m_profile.WriteNumber(profile::kNumPings, plan.numPings));
    Verify(m_profile.WriteNumber(profile::kPingTimeout, plan.timeout));
    Verify(m_profile.WriteNumber(profile::kPingDelay, plan.delay));
}

} // namespace vnxtest
