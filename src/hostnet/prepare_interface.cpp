#include "hostnet/host_network.h"
#include "vnetx/neighbour_questions.h"

namespace vnxtest {

namespace {

struct AdapterAddresses {
    Ipv4Address ip;
    MacAddress mac;
};

// Queries missing addresses. A failure is silent: the address stays missing and is queried again. Called
// without the address lock, since it may take as long as an exchange on the wire.
AdapterAddresses AskForMissing(AdapterAddresses known, std::int32_t handle, VnetxLibrary& library) {
    if (known.mac.IsZero()) {
        known.mac = AskForMac(library, handle, known.ip).value_or(known.mac);
    }
    if (known.ip.IsZero()) {
        known.ip = AskForIpv4(library, handle, known.mac).value_or(known.ip);
    }
    return known;
}

} // namespace

void RefreshAdapterAddresses(INTERFACE_INFO& info, VnetxLibrary& library, const HostNetwork& host) {
    if (info.addressesKnown.load(std::memory_order_acquire)) {
        return;
    }
    AdapterAddresses addresses;
    {
        const std::lock_guard lock(info.addressLock);
        addresses = {info.adapterIp, info.adapterMac};
    }
    addresses = AskForMissing(addresses, info.handle, library);
    const Ipv4Address netMask = host.GetHostMaskByIP(addresses.ip);
    const std::lock_guard lock(info.addressLock);
    if (info.addressesKnown.load(std::memory_order_relaxed)) {
        return; // another thread was faster
    }
    info.adapterIp = addresses.ip;
    info.adapterMac = addresses.mac;
    info.netMask = netMask;
    if (!info.adapterMac.IsZero() && !info.adapterIp.IsZero()) {
        info.addressesKnown.store(true, std::memory_order_release);
    }
}

void PrepareInterface(INTERFACE_INFO& info, VnetxLibrary& library, const HostNetwork& host) {
    info.addressesKnown = false;
    RefreshAdapterAddresses(info, library, host);
    const std::lock_guard lock(info.addressLock);
    info.inAdapterSubnet = (info.guestIp & info.netMask) == (info.adapterIp & info.netMask);
    if (info.guestIpText.empty() || !info.broadcastText.empty()) {
        return;
    }
    info.broadcastIp = (info.guestIp & info.netMask) | ~info.netMask;
    info.broadcastText = FormatIPAddr(info.broadcastIp);
}

} // namespace vnxtest
