// The kernel's TUN/TAP device: the descriptor, and the network interface that the host sees.
//
// The interface goes away with the descriptor. The only other change of the host's network is the route to
// the guest's address. A process that may not make the device gets it from the helper `vnxtest-open`, which
// makes it and brings it up in one step; its settings are then final. For one thread at a time.
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

    // Makes the network interface, down and without address, under a new name. If this process may not,
    // only chooses the name, and the helper makes it in BringUp(); EPERM if the helper is not ready.
    int Create(bool tap);
    // Why the helper refused the last failed step, in whole sentences; empty if it did not.
    const std::string& Problem() const { return m_problem; }
    const std::string& Name() const { return m_name; }
    std::uint32_t Index() const { return m_index; }
    // Non-blocking; one frame or packet per read and write.
    int Get() const { return m_descriptor.Get(); }

    // Sets MTU, host end and the guest as the peer (a host route), and brings it up. EPERM if a device of
    // the helper's would have to change.
    int BringUp(const TunSettings& settings);
    // Brings it down and removes the address. A device of the helper's stays up; its frames are discarded
    // at the next BringUp().
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
    OpenKind m_helpersKind{}; // what the helper is asked for; 0 if this process may itself
    std::string m_problem;
};

} // namespace vnxtest
