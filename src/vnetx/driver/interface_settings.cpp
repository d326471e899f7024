#include "vnetx/driver/interface_settings.h"

#include <array>
#include <cstring>

#include "vnetx/driver/guest_mac.h"

namespace vnxtest {

MacAddress AtomicMac::Get() const {
    const std::uint64_t image = m_image.load(std::memory_order_relaxed);
    std::array<std::uint8_t, 6> bytes;
    std::memcpy(bytes.data(), &image, bytes.size());
    return MacAddress(bytes);
}

void AtomicMac::Set(MacAddress mac) {
    std::uint64_t image = 0;
    std::memcpy(&image, mac.Bytes().data(), mac.Bytes().size());
    m_image.store(image, std::memory_order_relaxed);
}

MacAddress InterfaceSettings::GuestMac() const {
    const MacAddress mac = ownMac.Get();
    const Ipv4Address ip = guestIp.Get();
    return mac.IsZero() && !ip.IsZero() ? BuildGuestMac(ip) : mac;
}

ReplyScope InterfaceSettings::Scope() const {
    const Ipv4Address mask = netMask.Get();
    const bool ownSubnet = !mask.IsZero() && mask != Ipv4Address(255, 255, 255, 255);
    return {GuestMac(), guestIp.Get(), ownSubnet ? guestIp.Get() : adapterIp.Get(),
            ownSubnet ? mask : adapterMask.Get(), broadcastIp.Get()};
}

} // namespace vnxtest
