#include <cerrno>
#include <memory>

#include <net/if.h>
#include <pcap/pcap.h>
#include <unistd.h>

#include "platform/network/device_names.h"
#include "wrenlib/errors.h"
#include "wrenlib/text.h"

namespace vnxtest {

DeviceNames GetDeviceNames() {
    DeviceNames result;
    char message[PCAP_ERRBUF_SIZE] = {};
    pcap_if_t* list = nullptr;
    SetLastError(0);
    if (pcap_findalldevs(&list, message) != 0) {
        // The library gives a text only; errno is that of the call that failed beneath it.
        result.code = LastError() != 0 ? LastError() : static_cast<std::uint32_t>(EIO);
    }
    const std::unique_ptr<pcap_if_t, decltype(&pcap_freealldevs)> owner(list, pcap_freealldevs);
    for (const pcap_if_t* device = list; device != nullptr; device = device->next) {
        // Leaves out libpcap's other sources: Bluetooth, USB, D-Bus, the packet filter.
        if (if_nametoindex(device->name) != 0) {
            result.names.push_back(ToWide(device->name));
        }
    }
    constexpr char kTunDevice[] = "/dev/net/tun";
    if (access(kTunDevice, F_OK) == 0) {
        result.names.push_back(ToWide(kTunDevice));
    }
    return result;
}

} // namespace vnxtest
