#include <cstring>

#include "hostnet/host_network.h"

namespace vnxtest {

namespace {

VnetxArpRequest NewRequest() {
    VnetxArpRequest request{};
    request.protocolFamily = VNETX_AF_INET;
    request.flags = VNETX_ATF_PERMANENT;
    return request;
}

// Under addressLock. A failure is silent: the address stays missing and is asked for again.
void AskForMissingAddresses(INTERFACE_INFO& info, VnetxLibrary& library) {
    if (info.adapterMac.IsZero()) {
        VnetxArpRequest request = NewRequest();
        std::memcpy(request.protocolAddress, info.adapterIp.Bytes().data(), 4);
        if (library.Ioctl(info.handle, VNETX_SIOCGARP, &request) == 0) {
            std::array<std::uint8_t, 6> bytes{};
            std::memcpy(bytes.data(), request.hardwareAddress, bytes.size());
            info.adapterMac = MacAddress(bytes);
        }
    }
    if (info.adapterIp.IsZero()) {
        VnetxArpRequest request = NewRequest();
        std::memcpy(request.hardwareAddress, info.adapterMac.Bytes().data(), 6);
        if (library.Ioctl(info.handle, VNETX_SIOCGRARP, &request) == 0) {
            std::array<std::uint8_t, 4> bytes{};
            std::memcpy(bytes.data(), request.protocolAddress, bytes.size());
            info.adapterIp = Ipv4Address(bytes);
        }
    }
}

} // namespace

void RefreshAdapterAddresses(INTERFACE_INFO& info, HostNetwork& host) {
    if (info.addressesKnown.load(std::memory_order_acquire)) {
        return;
    }
    const std::lock_guard lock(info.addressLock);
    if (info.addressesKnown.load(std::memory_order_relaxed)) {
        return; // another thread was faster
    }
    AskForMissingAddresses(info, host.Library());
    info.netMask = host.GetHostMaskByIP(info.adapterIp);
    if (!info.adapterMac.IsZero() && !info.adapterIp.IsZero()) {
        info.addressesKnown.store(true, std::memory_order_release);
    }
}

void PrepareInterface(INTERFACE_INFO& info, HostNetwork& host) {
    info.addressesKnown = false;
    RefreshAdapterAddresses(info, host);
    const std::lock_guard lock(info.addressLock);
    info.inAdapterSubnet = (info.guestIp & info.netMask) == (info.adapterIp & info.netMask);
    if (info.guestIpText.empty() || !info.broadcastText.empty()) {
        return;
    }
    info.broadcastIp = (info.guestIp & info.netMask) | ~info.netMask;
    info.broadcastText = FormatIPAddr(info.broadcastIp);
}

} // namespace vnxtest
