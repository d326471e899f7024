#include "core/prepare_interface.h"

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

void RefreshAdapterAddresses(InterfaceAddresses& addresses, std::int32_t handle, VnetxLibrary& library,
                             const MaskLookup& maskOf) {
    if (addresses.adapterKnown.load(std::memory_order_acquire)) {
        return;
    }
    AdapterAddresses adapter;
    {
        const std::lock_guard lock(addresses.adapterLock);
        adapter = {addresses.adapterIp, addresses.adapterMac};
    }
    adapter = AskForMissing(adapter, handle, library);
    const Ipv4Address netMask = maskOf(adapter.ip);
    const std::lock_guard lock(addresses.adapterLock);
    if (addresses.adapterKnown.load(std::memory_order_relaxed)) {
        return; // another thread was faster
    }
    addresses.adapterIp = adapter.ip;
    addresses.adapterMac = adapter.mac;
    addresses.netMask = netMask;
    if (!adapter.mac.IsZero() && !adapter.ip.IsZero()) {
        addresses.adapterKnown.store(true, std::memory_order_release);
    }
}

void PrepareInterface(INTERFACE_INFO& info, VnetxLibrary& library, const MaskLookup& maskOf) {
    InterfaceAddresses& addresses = info.addresses;
    addresses.adapterKnown = false;
    RefreshAdapterAddresses(addresses, info.open.Handle(), library, maskOf);
    const std::lock_guard lock(addresses.adapterLock);
    addresses.inAdapterSubnet =
        (addresses.guestIp & addresses.netMask) == (addresses.adapterIp & addresses.netMask);
    if (info.asked.guestIpText.empty() || !addresses.broadcastText.empty()) {
        return;
    }
    addresses.broadcastIp = (addresses.guestIp & addresses.netMask) | ~addresses.netMask;
    addresses.broadcastText = FormatIPAddr(addresses.broadcastIp);
}

} // namespace vnxtest
