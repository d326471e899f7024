#include "core/interface_info.h"

namespace vnxtest {

void PacketCounters::Clear() {
    for (auto& count : ignored) {
        count = 0;
    }
    echoRequestsAnswered = 0;
    arpRequestsAnswered = 0;
    rarpRequestsAnswered = 0;
}

void INTERFACE_INFO::Reset() {
    handle = -1;
    name.clear();
    tapMode = false;
    for (std::wstring* text :
         {&guestIpText, &broadcastText, &guestMacText, &adapterIpText, &adapterMacText}) {
        text->clear();
    }
    guestIp = broadcastIp = adapterIp = netMask = Ipv4Address();
    guestMac = adapterMac = MacAddress();
    inAdapterSubnet = false;
    addressesKnown = false;
    counters.Clear();
    statistics = {};
    statisticsValid = false;
    droppedByDriver.reset();
}

ReplyScope ReplyScopeOf(INTERFACE_INFO& info) {
    std::unique_lock lock(info.addressLock, std::defer_lock);
    if (!info.addressesKnown.load(std::memory_order_acquire)) {
        lock.lock(); // another thread may be setting them
    }
    return {info.guestMac, info.guestIp, info.inAdapterSubnet ? info.guestIp : info.adapterIp, info.netMask,
            info.broadcastIp};
}

std::wstring INTERFACE_INFO::NameCopy() {
    const std::lock_guard lock(addressLock);
    return name;
}

void INTERFACE_INFO::PublishHandle(std::int32_t opened) {
    const std::lock_guard lock(m_handleLock);
    handle.store(opened, std::memory_order_release);
}

void INTERFACE_INFO::WithdrawHandle() {
    const std::lock_guard lock(m_handleLock);
    handle = -1;
}

void INTERFACE_INFO::WithHandle(const std::function<void(std::int32_t)>& wake) {
    const std::lock_guard lock(m_handleLock);
    if (handle >= 0) {
        wake(handle);
    }
}

} // namespace vnxtest
