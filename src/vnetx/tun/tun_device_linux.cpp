#include "vnetx/tun/tun_device_linux.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sys/ioctl.h>

#include "netlink/addresses.h"
#include "netlink/links.h"
#include "open/ask_helper.h"
#include "open/helper.h"
#include "wrenlib/text.h"

namespace vnxtest {
int TunDevice::Create(bool tap) {
    const int code = MakeItself(tap);
    return code == EPERM || code == EACCES ? AwaitHelper(tap) : code;
}

// Chooses the name, which is needed before the device exists. Numbers are not reused within the process, so
// that interfaces that come up side by side differ.
int TunDevice::AwaitHelper(bool tap) {
    m_problem = HowToReadyHelper(HelperPath());
    if (access("/dev/net/tun", R_OK | W_OK) != 0 && errno == EACCES) {
        m_problem += std::string(m_problem.empty() ? "" : "\n") +
                     "You may not open the device file /dev/net/tun. Open it to its users with\n"
                     "    sudo chmod a+rw /dev/net/tun";
    }
    if (!m_problem.empty()) {
        return EPERM;
    }
    static std::atomic<unsigned> next{0};
    do {
        m_name = "vnxtun" + std::to_string(next.fetch_add(1));
    } while (if_nametoindex(m_name.c_str()) != 0);
    m_helpersKind = tap ? OpenKind::TapDevice : OpenKind::TunDevice;
    return 0;
}

int TunDevice::BringUpByHelper(const TunSettings& settings) {
    if (m_descriptor) {
        // Discards the frames that came while the interface was down.
        for (std::array<std::uint8_t, 2048> frame;
             read(m_descriptor.Get(), frame.data(), frame.size()) > 0;) {
        }
        return settings == m_settings ? 0 : EPERM;
    }
    OpenRequest request;
    request.kind = m_helpersKind;
    request.adapter = ToAdapterName(settings.adapter);
    request.guestMac = request.HasMac() ? settings.guestMac.Bytes() : MacAddress().Bytes();
    request.guestIp = settings.guest.Bytes();
    request.hostEnd = settings.hostEnd.Bytes();
    request.mtu = settings.mtu;
    request.queueLength = std::min(settings.queueLength, kLongestQueue);
    request.device = ToAdapterName(m_name);
    auto answer = AskHelper(request);
    m_problem = answer ? std::string() : ToUtf8(answer.error().text);
    if (!answer) {
        return answer.error().errnoValue;
    }
    m_descriptor = std::move(*answer);
    m_settings = settings;
    m_index = if_nametoindex(m_name.c_str());
    return m_index != 0 ? 0 : ENODEV;
}

int TunDevice::MakeItself(bool tap) {
    Descriptor descriptor(open("/dev/net/tun", O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (!descriptor) {
        return errno;
    }
    ifreq request{};
    std::strcpy(request.ifr_name, "vnxtun%d");
    request.ifr_flags = static_cast<short>((tap ? IFF_TAP : IFF_TUN) | IFF_NO_PI);
    if (ioctl(descriptor.Get(), TUNSETIFF, &request) != 0) {
        return errno;
    }
    m_name = request.ifr_name;
    m_index = if_nametoindex(request.ifr_name);
    m_descriptor = std::move(descriptor);
    return m_index != 0 ? 0 : ENODEV;
}

int TunDevice::BringUp(const TunSettings& settings) {
    if (m_helpersKind != OpenKind{}) {
        return BringUpByHelper(settings);
    }
    m_settings = settings;
    // Keeps the kernel from sending IPv6 solicitations to a guest that has no IPv6. Older kernels refuse
    // this; the start goes on.
    LeaveOutIpv6(m_index);
    if (const auto added = AddPeerAddress(m_index, settings.hostEnd, settings.guest); !added) {
        return added.error().errnoValue;
    }
    if (const auto changed = ChangeLink(m_index, {settings.mtu, settings.queueLength, true}); !changed) {
        RemovePeerAddress(m_index, settings.hostEnd, settings.guest);
        return changed.error().errnoValue;
    }
    return 0;
}

int TunDevice::TakeDown() {
    if (m_helpersKind != OpenKind{}) {
        return 0;
    }
    const auto changed = ChangeLink(m_index, {0, 0, false});
    RemovePeerAddress(m_index, m_settings.hostEnd, m_settings.guest);
    return changed ? 0 : changed.error().errnoValue;
}

MacAddress TunDevice::HostMac() const {
    const auto link = FindLink(m_index);
    return link ? link->mac.value_or(MacAddress()) : MacAddress();
}

} // namespace vnxtest
