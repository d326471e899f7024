#include "platform/network/arp_probe_linux.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "netlink/addresses.h"
#include "netlink/links.h"
#include "netlink/neighbours.h"
#include "netlink/routes.h"
#include "packets/arp_packet.h"

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

// The interface of the request, and its source addresses.
struct ProbePath {
    std::uint32_t interfaceIndex = 0;
    Ipv4Address source;
    MacAddress sourceMac;
    bool local = false; // the destination is an address of this host
};

std::uint32_t LastErrno() {
    return static_cast<std::uint32_t>(errno);
}

// Queries the kernel's route.
std::uint32_t LookUpRoute(Ipv4Address destination, ProbePath& path) {
    KernelRoute route;
    if (const int code = FindRoute(destination, 0, route)) {
        return static_cast<std::uint32_t>(code);
    }
    path.interfaceIndex = route.nextHops.front().link;
    path.source = route.source;
    path.local = route.kind == KernelRouteKind::Local;
    return 0;
}

// The interface that owns `address`: of several, the one whose subnet also holds `neighbour`.
std::uint32_t InterfaceOfAddress(Ipv4Address address, Ipv4Address neighbour) {
    std::vector<KernelAddress> rows;
    ListAddresses(rows);
    std::uint32_t found = 0;
    for (const KernelAddress& row : rows) {
        if (row.address != address) {
            continue;
        }
        if ((address & row.mask) == (neighbour & row.mask)) {
            return row.link;
        }
        found = found != 0 ? found : row.link;
    }
    return found;
}

// The interface's MAC address and whether ARP is spoken on it.
std::uint32_t ReadInterface(ProbePath& path) {
    KernelLink link;
    if (const int code = FindLink(path.interfaceIndex, link)) {
        return static_cast<std::uint32_t>(code);
    }
    if (link.hardwareType != ARPHRD_ETHER || !link.mac || (link.flags & IFF_NOARP) != 0) {
        return EOPNOTSUPP;
    }
    if ((link.flags & IFF_UP) == 0) {
        return ENETDOWN;
    }
    path.sourceMac = *link.mac;
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

// Reads frames until `until`; true if the answer was among them.
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
    wire.sll_ifindex = static_cast<int>(path.interfaceIndex);
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
        const KernelNeighbour neighbour = FindNeighbour(destination, path.interfaceIndex);
        if (neighbour.mac) {
            mac = *neighbour.mac;
            return 0;
        }
        if (neighbour.failed || Clock::now() >= end) {
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
    // Protocol 0 until it is bound, so that no frames of other interfaces come in meanwhile.
    const Socket wire(AF_PACKET, SOCK_DGRAM, 0);
    if (wire.Handle() >= 0) {
        return Exchange(wire.Handle(), destination, path, mac);
    }
    return errno == EPERM || errno == EACCES ? AskKernel(destination, path, mac) : LastErrno();
}

} // namespace vnxtest
