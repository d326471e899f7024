#include "core/interface_addresses.h"

namespace vnxtest {

void InterfaceAddresses::Reset() {
    guestIp = broadcastIp = adapterIp = netMask = Ipv4Address();
    guestMac = adapterMac = gatewayMac = MacAddress();
    broadcastText.clear();
    inAdapterSubnet = false;
    adapterKnown = false;
}

ReplyScope ReplyScopeOf(InterfaceAddresses& addresses) {
    std::unique_lock lock(addresses.adapterLock, std::defer_lock);
    if (!addresses.adapterKnown.load(std::memory_order_acquire)) {
        lock.lock(); // they may be found out at this moment
    }
    return {addresses.guestMac, addresses.guestIp,
            addresses.inAdapterSubnet ? addresses.guestIp : addresses.adapterIp, addresses.netMask,
            addresses.broadcastIp};
}

} // namespace vnxtest
