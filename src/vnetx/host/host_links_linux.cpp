#include <cerrno>
#include <unordered_map>

#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <linux/netlink.h>

#include "netlink/addresses.h"
#include "netlink/links.h"
#include "netlink/routes.h"
#include "vnetx/host/host_links.h"
#include "wrenlib/descriptor_linux.h"

namespace vnxtest {
namespace {

// IFF_LOWER_UP of linux/if.h, which cannot stand beside net/if.h: the carrier itself. IFF_RUNNING follows it
// by up to a second.
constexpr unsigned kLowerUp = 1u << 16;

HostLink ToHostLink(const KernelLink& kernel) {
    HostLink link;
    link.captureName = kernel.name;
    link.index = kernel.index;
    link.mac = kernel.mac.value_or(MacAddress());
    link.mtu = kernel.mtu;
    link.up = (kernel.flags & IFF_UP) != 0;
    link.carrier = link.up && (kernel.flags & kLowerUp) != 0;
    link.loopback = (kernel.flags & IFF_LOOPBACK) != 0;
    return link;
}

} // namespace

std::vector<HostLink> ListHostLinks() {
    const auto kernelLinks = ListLinks();
    if (!kernelLinks) {
        errno = kernelLinks.error().errnoValue;
        return {};
    }
    const auto addresses = ListAddresses();
    if (!addresses) {
        errno = addresses.error().errnoValue;
        return {};
    }
    std::vector<HostLink> links;
    std::unordered_map<std::uint32_t, std::size_t> places;
    for (const KernelLink& kernel : *kernelLinks) {
        places[kernel.index] = links.size();
        links.push_back(ToHostLink(kernel));
    }
    for (const KernelAddress& address : *addresses) {
        if (const auto place = places.find(address.link); place != places.end()) {
            links[place->second].addresses.push_back({address.address, address.mask});
        }
    }
    return links;
}

std::uint32_t DefaultRouteLinkIndex() {
    const auto routes = ListRoutes();
    const KernelRoute* const best = routes ? BestDefaultRoute(*routes) : nullptr;
    return best != nullptr ? best->nextHops.front().link : 0;
}

bool IsPortOfAnother(std::uint32_t index) {
    const auto link = FindLink(index);
    return link && link->master != 0;
}

// By ioctl: a route netlink request waits for the kernel's lock while another process changes links. Any
// socket will do; a netlink socket is the only one that a running guest may make
// (platform/process/sandbox.h).
int HostLinkHealth(std::uint32_t index) {
    const Descriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    ifreq request{};
    request.ifr_ifindex = static_cast<int>(index);
    if (ioctl(socket.Get(), SIOCGIFNAME, &request) != 0) {
        return errno == ENODEV ? ENODEV : 0; // a failure to ask is no failure of the adapter
    }
    if (ioctl(socket.Get(), SIOCGIFFLAGS, &request) != 0) {
        return errno == ENODEV ? ENODEV : 0; // likewise
    }
    return (request.ifr_flags & IFF_UP) != 0 ? 0 : ENETDOWN;
}

std::optional<Ipv4Address> GatewayTowards(std::uint32_t index, Ipv4Address destination) {
    const auto route = FindRoute(destination, index);
    if (!route || route->nextHops.front().gateway.IsZero()) {
        return std::nullopt;
    }
    return route->nextHops.front().gateway;
}

} // namespace vnxtest
