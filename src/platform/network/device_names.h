// The names under which the packet driver's devices are known to the system.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vnxtest {

struct DeviceNames {
    std::vector<std::wstring> names;
    // The code of the failure when the list could not be read, else 0.
    std::uint32_t code = 0;
};

// Windows: every DOS device name that begins with "NPF_" or "Packet_". Linux: the network
// interfaces that libpcap can capture on, by its names, and /dev/net/tun where it exists. Any thread.
DeviceNames GetDeviceNames();

} // namespace vnxtest
