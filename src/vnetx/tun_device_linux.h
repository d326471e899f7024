// The kernel's TUN/TAP device: the descriptor, and the network interface that the host sees.
//
// The interface goes away with the descriptor. Of the host's network nothing else is touched: the
// only route that comes with it is that of the guest's own address.
#pragma once

#include <cstdint>
#include <string>

#include "vnetx/descriptor_linux.h"
#include "wrenlib/address.h"

namespace vnxtest {

struct TunSettings {
    Ipv4Address hostEnd;
    Ipv4Address guest;
    std::uint32_t mtu = 0;         // 0: the kernel's own
    std::uint32_t queueLength = 0; // frames that the kernel keeps for the guest
};

class TunDevice {
public:
    // The functions return 0 or an errno value.

    // Makes the network interface, down and without address, under a fresh name.
    int Create(bool tap);
    const std::string& Name() const { return m_name; }
    std::uint32_t Index() const { return m_index; }
    // Non-blocking; one frame or packet per read and write.
    int Get() const { return m_descriptor.Get(); }

    // Gives it MTU, host end and the guest as the peer (a host route), and brings it up.
    int BringUp(const TunSettings& settings);
    // Brings it down and takes the address away.
    int TakeDown();
    // The MAC of the host's end of a TAP; zero for a TUN.
    MacAddress HostMac() const;
    std::uint32_t Mtu() const;

private:
    int ChangeAddress(bool add) const;

    Descriptor m_descriptor;
    std::string m_name;
    std::uint32_t m_index = 0;
    TunSettings m_settings;
};

} // namespace vnxtest
