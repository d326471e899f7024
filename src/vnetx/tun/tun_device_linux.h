// The kernel's TUN/TAP device: the descriptor, and the network interface that the host sees.
//
// The interface goes away with the descriptor. Of the host's network nothing else is touched: the
// only route that comes with it is that of the guest's own address. A process that may not make it itself
// gets it from the helper `vnxtest-open`, made and brought up in one step and not to be changed any more.
#pragma once

#include <cstdint>
#include <string>

#include "open/open_request.h"
#include "wrenlib/address.h"
#include "wrenlib/descriptor_linux.h"

namespace vnxtest {

struct TunSettings {
    std::string adapter; // whose address the host's end is
    MacAddress guestMac; // of a TAP
    Ipv4Address hostEnd;
    Ipv4Address guest;
    std::uint32_t mtu = 0;         // 0: the kernel's own
    std::uint32_t queueLength = 0; // frames that the kernel keeps for the guest

    bool operator==(const TunSettings&) const = default;
};

class TunDevice {
public:
    // The functions return 0 or an errno value.

    // Makes the network interface, down and without address, under a fresh name; where this process may
    // not, it is made when it is brought up.
    int Create(bool tap);
    // Why the helper refused what failed last, in whole sentences; empty when it was not that.
    const std::string& Problem() const { return m_problem; }
    const std::string& Name() const { return m_name; }
    std::uint32_t Index() const { return m_index; }
    // Non-blocking; one frame or packet per read and write.
    int Get() const { return m_descriptor.Get(); }

    // Gives it MTU, host end and the guest as the peer (a host route), and brings it up.
    int BringUp(const TunSettings& settings);
    // Brings it down and takes the address away. The helper's stays, and nobody reads it.
    int TakeDown();
    // The MAC of the host's end of a TAP; zero for a TUN.
    MacAddress HostMac() const;

private:
    int MakeItself(bool tap);
    int AwaitHelper(bool tap);
    int BringUpByHelper(const TunSettings& settings);

    Descriptor m_descriptor;
    std::string m_name;
    std::uint32_t m_index = 0;
    TunSettings m_settings;
    OpenKind m_helpersKind{}; // what the helper is asked for; none when this process may itself
    std::string m_problem;
};

} // namespace vnxtest
