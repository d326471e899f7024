// The system's names of the packet driver's devices.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vnxtest {

struct DeviceNames {
    std::vector<std::wstring> names;
    // The code of the failure if the list could not be read, else 0.
    std::uint32_t code = 0;
};

// Windows: every DOS device name that begins with "NPF_" or "Packet_". Linux: the network interfaces that
// libpcap can capture on, by its names, and /dev/net/tun if it exists. Any thread.
DeviceNames GetDeviceNames();

} // namespace vnxtest
