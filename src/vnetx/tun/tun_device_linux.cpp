#include "vnetx/tun/tun_device_linux.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <memory>

#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <netlink/errno.h>
#include <netlink/route/addr.h>
#include <netlink/route/link.h>
#include <netlink/route/link/inet6.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "open/ask_helper.h"
#include "open/helper.h"
#include "vnetx/host/host_links.h"
#include "vnetx/host/route_netlink_linux.h"

namespace vnxtest {
namespace {

// libnl's result as an errno value.
int ErrnoOfNetlink(int result) {
    switch (-result) {
    case 0:
        return 0;
    case NLE_PERM:
        return EPERM;
    case NLE_NOACCESS:
        return EACCES;
    case NLE_NODEV:
    case NLE_OBJ_NOTFOUND:
        return ENODEV;
    case NLE_NOMEM:
        return ENOMEM;
    case NLE_EXIST:
        return EEXIST;
    case NLE_NOADDR:
        return EADDRNOTAVAIL;
    default:
        return EINVAL;
    }
}

using Link = std::unique_ptr<rtnl_link, decltype(&rtnl_link_put)>;
using Address = std::unique_ptr<rtnl_addr, decltype(&rtnl_addr_put)>;

int ChangeLink(std::uint32_t index, rtnl_link* changes) {
    const RouteNetlink socket = ConnectRouteNetlink();
    const Link link(rtnl_link_alloc(), rtnl_link_put);
    if (!socket || !link) {
        return ENOMEM;
    }
    rtnl_link_set_ifindex(link.get(), static_cast<int>(index));
    return ErrnoOfNetlink(rtnl_link_change(socket.get(), link.get(), changes, 0));
}

// The kernel would send IPv6 solicitations to a guest that has no IPv6. Older kernels refuse this
// alone, which is no reason to fail.
void LeaveOutIpv6(std::uint32_t index) {
    const Link changes(rtnl_link_alloc(), rtnl_link_put);
    if (changes &&
        rtnl_link_inet6_set_addr_gen_mode(changes.get(), rtnl_link_inet6_str2addrgenmode("none")) == 0) {
        ChangeLink(index, changes.get());
    }
}

} // namespace

int TunDevice::Create(bool tap) {
    const int code = MakeItself(tap);
    return code == EPERM || code == EACCES ? AwaitHelper(tap) : code;
}

// Its name is needed now. Numbers are not used twice in this process, whose interfaces come up side by side.
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
        // What came while nobody read was for nobody.
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
    HelperAnswer answer = AskHelper(request);
    m_problem = std::move(answer.problem);
    if (answer.error != 0) {
        return answer.error;
    }
    m_descriptor = std::move(answer.descriptor);
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

int TunDevice::ChangeAddress(bool add) const {
    const RouteNetlink socket = ConnectRouteNetlink();
    const Address address(rtnl_addr_alloc(), rtnl_addr_put);
    const auto make = [](Ipv4Address ip) {
        return std::unique_ptr<nl_addr, decltype(&nl_addr_put)>(
            nl_addr_build(AF_INET, ip.Bytes().data(), ip.Bytes().size()), nl_addr_put);
    };
    const auto local = make(m_settings.hostEnd);
    const auto peer = make(m_settings.guest);
    if (!socket || !address || !local || !peer) {
        return ENOMEM;
    }
    // The peer's 32 bits make the one route that comes with the address.
    nl_addr_set_prefixlen(peer.get(), 32);
    rtnl_addr_set_ifindex(address.get(), static_cast<int>(m_index));
    rtnl_addr_set_family(address.get(), AF_INET);
    rtnl_addr_set_local(address.get(), local.get());
    rtnl_addr_set_peer(address.get(), peer.get());
    rtnl_addr_set_prefixlen(address.get(), 32);
    return ErrnoOfNetlink(add ? rtnl_addr_add(socket.get(), address.get(), 0)
                              : rtnl_addr_delete(socket.get(), address.get(), 0));
}

int TunDevice::BringUp(const TunSettings& settings) {
    if (m_helpersKind != OpenKind{}) {
        return BringUpByHelper(settings);
    }
    m_settings = settings;
    LeaveOutIpv6(m_index);
    const Link changes(rtnl_link_alloc(), rtnl_link_put);
    if (!changes) {
        return ENOMEM;
    }
    if (settings.mtu != 0) {
        rtnl_link_set_mtu(changes.get(), settings.mtu);
    }
    if (settings.queueLength != 0) {
        rtnl_link_set_txqlen(changes.get(), settings.queueLength);
    }
    rtnl_link_set_flags(changes.get(), IFF_UP);
    if (const int code = ChangeAddress(true); code != 0) {
        return code;
    }
    if (const int code = ChangeLink(m_index, changes.get()); code != 0) {
        ChangeAddress(false);
        return code;
    }
    return 0;
}

int TunDevice::TakeDown() {
    if (m_helpersKind != OpenKind{}) {
        return 0;
    }
    const Link changes(rtnl_link_alloc(), rtnl_link_put);
    if (!changes) {
        return ENOMEM;
    }
    rtnl_link_unset_flags(changes.get(), IFF_UP);
    const int code = ChangeLink(m_index, changes.get());
    ChangeAddress(false);
    return code;
}

MacAddress TunDevice::HostMac() const {
    const auto link = FindHostLinkByIndex(m_index);
    return link ? link->mac : MacAddress();
}

} // namespace vnxtest
