#include "platform/arp_probe_linux.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>
#include <thread>

#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <linux/neighbour.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "packets/arp_packet.h"
#include "platform/netlink_linux.h"

namespace vnxtest {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kProbeTime{1000};
constexpr std::chrono::milliseconds kTryTime{334};

class Socket {
public:
    Socket(int family, int type, int protocol) : m_handle(socket(family, type | SOCK_CLOEXEC, protocol)) {}
    ~Socket() {
        if (m_handle >= 0) {
            close(m_handle);
        }
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int Handle() const { return m_handle; }

private:
    int m_handle;
};

// Where the request goes out, and under which addresses.
struct ProbePath {
    int interfaceIndex = 0;
    Ipv4Address source;
    MacAddress sourceMac;
    bool local = false; // the destination is an address of this host
};

std::uint32_t LastErrno() {
    return static_cast<std::uint32_t>(errno);
}

int TakeRoute(nl_msg* message, void* result) {
    rtnl_route* route = nullptr;
    if (rtnl_route_parse(nlmsg_hdr(message), &route) == 0) {
        static_cast<NetlinkOwner<rtnl_route>*>(result)->reset(route);
    }
    return NL_OK;
}

// Asks the kernel which way it would take (RTM_GETROUTE for one destination).
std::uint32_t LookUpRoute(Ipv4Address destination, ProbePath& path) {
    std::uint32_t code = 0;
    const NetlinkOwner<nl_sock> socket = OpenNetlink(code);
    if (socket == nullptr) {
        return code;
    }
    nl_socket_disable_auto_ack(socket.get());
    NetlinkOwner<rtnl_route> route;
    nl_socket_modify_cb(socket.get(), NL_CB_VALID, NL_CB_CUSTOM, TakeRoute, &route);
    const NetlinkOwner<nl_msg> message(nlmsg_alloc_simple(RTM_GETROUTE, 0));
    rtmsg header{};
    header.rtm_family = AF_INET;
    header.rtm_dst_len = 32;
    if (message == nullptr || nlmsg_append(message.get(), &header, sizeof header, NLMSG_ALIGNTO) < 0 ||
        nla_put(message.get(), RTA_DST, 4, destination.Bytes().data()) < 0) {
        return ENOMEM;
    }
    int result = nl_send_auto(socket.get(), message.get());
    if (result >= 0) {
        result = nl_recvmsgs_default(socket.get());
    }
    if (result < 0) {
        // The kernel's own word for "no route" does not survive libnl's translation.
        return result == -NLE_PERM ? static_cast<std::uint32_t>(EPERM)
                                   : static_cast<std::uint32_t>(ENETUNREACH);
    }
    rtnl_nexthop* nextHop = route != nullptr ? rtnl_route_nexthop_n(route.get(), 0) : nullptr;
    if (nextHop == nullptr) {
        return ENETUNREACH;
    }
    path.interfaceIndex = rtnl_route_nh_get_ifindex(nextHop);
    path.source = ToIpv4(rtnl_route_get_pref_src(route.get()));
    path.local = rtnl_route_get_type(route.get()) == RTN_LOCAL;
    return 0;
}

// The interface that owns `address`: of several, the one whose subnet also holds `neighbour`.
int InterfaceOfAddress(Ipv4Address address, Ipv4Address neighbour) {
    std::uint32_t code = 0;
    const NetlinkOwner<nl_cache> cache = DumpAddresses(code);
    int found = 0;
    for (nl_object* object = cache ? nl_cache_get_first(cache.get()) : nullptr; object != nullptr;
         object = nl_cache_get_next(object)) {
        auto* row = reinterpret_cast<rtnl_addr*>(object);
        if (rtnl_addr_get_family(row) != AF_INET || ToIpv4(rtnl_addr_get_local(row)) != address) {
            continue;
        }
        const Ipv4Address mask = PrefixMask(static_cast<unsigned>(rtnl_addr_get_prefixlen(row)));
        if ((address & mask) == (neighbour & mask)) {
            return rtnl_addr_get_ifindex(row);
        }
        found = found != 0 ? found : rtnl_addr_get_ifindex(row);
    }
    return found;
}

// The interface's MAC address and whether ARP is spoken on it.
std::uint32_t ReadInterface(ProbePath& path) {
    std::uint32_t code = 0;
    const NetlinkOwner<nl_sock> socket = OpenNetlink(code);
    if (socket == nullptr) {
        return code;
    }
    rtnl_link* found = nullptr;
    const int result = rtnl_link_get_kernel(socket.get(), path.interfaceIndex, nullptr, &found);
    const NetlinkOwner<rtnl_link> link(result < 0 ? nullptr : found);
    if (link == nullptr) {
        return ENODEV;
    }
    nl_addr* mac = rtnl_link_get_addr(link.get());
    if (rtnl_link_get_arptype(link.get()) != ARPHRD_ETHER || mac == nullptr ||
        nl_addr_get_len(mac) != ETH_ALEN || (rtnl_link_get_flags(link.get()) & IFF_NOARP) != 0) {
        return EOPNOTSUPP;
    }
    if ((rtnl_link_get_flags(link.get()) & IFF_UP) == 0) {
        return ENETDOWN;
    }
    std::array<std::uint8_t, 6> bytes{};
    std::memcpy(bytes.data(), nl_addr_get_binary_addr(mac), bytes.size());
    path.sourceMac = MacAddress(bytes);
    return 0;
}

std::uint32_t ChoosePath(Ipv4Address destination, Ipv4Address source, ProbePath& path) {
    const std::uint32_t code = LookUpRoute(destination, path);
    if (code == 0 && path.local) {
        path.interfaceIndex = InterfaceOfAddress(destination, destination);
        return ReadInterface(path);
    }
    if (!source.IsZero()) {
        path.interfaceIndex = InterfaceOfAddress(source, destination);
        path.source = source;
        return path.interfaceIndex == 0 ? static_cast<std::uint32_t>(EADDRNOTAVAIL) : ReadInterface(path);
    }
    return code != 0 ? code : ReadInterface(path);
}

// Reads what has come until `until`; true when the answer was among it.
bool AwaitReply(int handle, Ipv4Address destination, Clock::time_point until, MacAddress& mac) {
    while (true) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
        if (left.count() <= 0) {
            return false;
        }
        pollfd wait{handle, POLLIN, 0};
        if (poll(&wait, 1, static_cast<int>(left.count())) < 0 && errno != EINTR) {
            return false;
        }
        std::array<std::uint8_t, ArpView::kLength> packet;
        const ssize_t length = recv(handle, packet.data(), packet.size(), MSG_DONTWAIT);
        const ConstArpView arp(packet);
        if (length == ArpView::kLength && arp.IsEthernetIpv4() && arp.Operation() == ArpOperation::Reply &&
            arp.SenderProtocolAddress() == destination) {
            mac = arp.SenderHardwareAddress();
            return true;
        }
    }
}

std::uint32_t Exchange(int handle, Ipv4Address destination, const ProbePath& path, MacAddress& mac) {
    sockaddr_ll wire{};
    wire.sll_family = AF_PACKET;
    wire.sll_protocol = htons(kEtherTypeArp);
    wire.sll_ifindex = path.interfaceIndex;
    if (bind(handle, reinterpret_cast<const sockaddr*>(&wire), sizeof wire) != 0) {
        return LastErrno();
    }
    wire.sll_halen = ETH_ALEN;
    std::memset(wire.sll_addr, 0xFF, ETH_ALEN);
    std::array<std::uint8_t, ArpView::kLength> request;
    ArpView(request).Emit({ArpOperation::Request, path.sourceMac, path.source, MacAddress(), destination});
    const Clock::time_point end = Clock::now() + kProbeTime;
    for (Clock::time_point now = Clock::now(); now < end; now = Clock::now()) {
        if (sendto(handle, request.data(), request.size(), 0, reinterpret_cast<const sockaddr*>(&wire),
                   sizeof wire) < 0) {
            return LastErrno();
        }
        if (AwaitReply(handle, destination, std::min(now + kTryTime, end), mac)) {
            return 0;
        }
    }
    return ETIMEDOUT;
}

// What the kernel's neighbour table holds. Nothing while there is no usable entry; `failed` when
// the kernel has asked in vain.
std::optional<MacAddress> FindNeighbour(Ipv4Address address, int interfaceIndex, bool& failed) {
    constexpr int kUsable = NUD_REACHABLE | NUD_STALE | NUD_DELAY | NUD_PROBE | NUD_PERMANENT;
    std::uint32_t code = 0;
    const NetlinkOwner<nl_cache> cache = DumpNeighbours(code);
    for (nl_object* object = cache ? nl_cache_get_first(cache.get()) : nullptr; object != nullptr;
         object = nl_cache_get_next(object)) {
        auto* row = reinterpret_cast<rtnl_neigh*>(object);
        if (rtnl_neigh_get_ifindex(row) != interfaceIndex || ToIpv4(rtnl_neigh_get_dst(row)) != address) {
            continue;
        }
        const int state = rtnl_neigh_get_state(row);
        failed = (state & NUD_FAILED) != 0;
        nl_addr* lladdr = rtnl_neigh_get_lladdr(row);
        if ((state & kUsable) != 0 && lladdr != nullptr && nl_addr_get_len(lladdr) == ETH_ALEN) {
            std::array<std::uint8_t, 6> bytes{};
            std::memcpy(bytes.data(), nl_addr_get_binary_addr(lladdr), bytes.size());
            return MacAddress(bytes);
        }
    }
    return std::nullopt;
}

std::uint32_t AskKernel(Ipv4Address destination, const ProbePath& path, MacAddress& mac) {
    constexpr std::uint16_t kDiscardPort = 9;
    const Socket nudge(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(kDiscardPort);
    std::memcpy(&peer.sin_addr, destination.Bytes().data(), 4);
    if (nudge.Handle() < 0 ||
        sendto(nudge.Handle(), "", 0, 0, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) < 0) {
        return LastErrno();
    }
    const Clock::time_point end = Clock::now() + kProbeTime;
    while (true) {
        bool failed = false;
        if (const auto found = FindNeighbour(destination, path.interfaceIndex, failed)) {
            mac = *found;
            return 0;
        }
        if (failed || Clock::now() >= end) {
            return ETIMEDOUT;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

} // namespace

std::uint32_t ProbeArp(Ipv4Address destination, Ipv4Address source, MacAddress& mac) {
    ProbePath path;
    if (const std::uint32_t code = ChoosePath(destination, source, path)) {
        return code;
    }
    if (path.local) {
        mac = path.sourceMac;
        return 0;
    }
    // Protocol 0 until it is bound: nothing of other interfaces comes in meanwhile.
    const Socket wire(AF_PACKET, SOCK_DGRAM, 0);
    if (wire.Handle() >= 0) {
        return Exchange(wire.Handle(), destination, path, mac);
    }
    return errno == EPERM || errno == EACCES ? AskKernel(destination, path, mac) : LastErrno();
}

} // namespace vnxtest
