#include "platform/network/arp_probe_linux.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>
#include <string_view>
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
#include "open/slow_close.h"
#include "packets/arp_packet.h"

namespace vnxtest {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kProbeTime{1000};
constexpr std::chrono::milliseconds kTryTime{334};
constexpr std::wstring_view kProbe = L"ARP probe"; // the failed call where it was none of the system's

class Socket {
public:
    Socket(int family, int type, int protocol)
        : m_family(family), m_handle(socket(family, type | SOCK_CLOEXEC, protocol)) {}
    ~Socket() {
        if (m_handle >= 0 && m_family == AF_PACKET) {
            slow_close::Begin({m_handle});
        } else if (m_handle >= 0) {
            close(m_handle);
        }
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int Handle() const { return m_handle; }

private:
    int m_family;
    int m_handle;
};

// The interface of the request, and its source addresses.
struct ProbePath {
    std::uint32_t interfaceIndex = 0;
    Ipv4Address source;
    MacAddress sourceMac;
    bool local = false; // the destination is an address of this host
};

// Queries the kernel's route.
Result<void> LookUpRoute(Ipv4Address destination, ProbePath& path) {
    auto route = FindRoute(destination, 0);
    if (!route) {
        return PassOn(route);
    }
    path.interfaceIndex = route->nextHops.front().link;
    path.source = route->source;
    path.local = route->kind == KernelRouteKind::Local;
    return {};
}

// The interface that owns `address`: of several, the one whose subnet also holds `neighbour`.
std::uint32_t InterfaceOfAddress(Ipv4Address address, Ipv4Address neighbour) {
    const auto rows = ListAddresses();
    if (!rows) {
        return 0;
    }
    std::uint32_t found = 0;
    for (const KernelAddress& row : *rows) {
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
Result<void> ReadInterface(ProbePath& path) {
    auto link = FindLink(path.interfaceIndex);
    if (!link) {
        return PassOn(link);
    }
    if (link->hardwareType != ARPHRD_ETHER || !link->mac || (link->flags & IFF_NOARP) != 0) {
        return FailedCall(kProbe, EOPNOTSUPP);
    }
    if ((link->flags & IFF_UP) == 0) {
        return FailedCall(kProbe, ENETDOWN);
    }
    path.sourceMac = *link->mac;
    return {};
}

Result<void> ChoosePath(Ipv4Address destination, Ipv4Address source, ProbePath& path) {
    auto found = LookUpRoute(destination, path);
    if (found && path.local) {
        path.interfaceIndex = InterfaceOfAddress(destination, destination);
        return ReadInterface(path);
    }
    if (!source.IsZero()) {
        path.interfaceIndex = InterfaceOfAddress(source, destination);
        path.source = source;
        if (path.interfaceIndex == 0) {
            return FailedCall(kProbe, EADDRNOTAVAIL);
        }
        return ReadInterface(path);
    }
    return found ? ReadInterface(path) : found;
}

// Reads frames until `until`; nullopt if the answer was not among them.
std::optional<MacAddress> AwaitReply(int handle, Ipv4Address destination, Clock::time_point until) {
    while (true) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
        if (left.count() <= 0) {
            return std::nullopt;
        }
        pollfd wait{handle, POLLIN, 0};
        if (poll(&wait, 1, static_cast<int>(left.count())) < 0 && errno != EINTR) {
            return std::nullopt;
        }
        std::array<std::uint8_t, ArpView::kLength> packet;
        const ssize_t length = recv(handle, packet.data(), packet.size(), MSG_DONTWAIT);
        const ConstArpView arp(packet);
        if (length == ArpView::kLength && arp.IsEthernetIpv4() && arp.Operation() == ArpOperation::Reply &&
            arp.SenderProtocolAddress() == destination) {
            return arp.SenderHardwareAddress();
        }
    }
}

Result<MacAddress> Exchange(int handle, Ipv4Address destination, const ProbePath& path) {
    sockaddr_ll wire{};
    wire.sll_family = AF_PACKET;
    wire.sll_protocol = htons(kEtherTypeArp);
    wire.sll_ifindex = static_cast<int>(path.interfaceIndex);
    if (bind(handle, reinterpret_cast<const sockaddr*>(&wire), sizeof wire) != 0) {
        return FailedCall(L"bind");
    }
    wire.sll_halen = ETH_ALEN;
    std::memset(wire.sll_addr, 0xFF, ETH_ALEN);
    std::array<std::uint8_t, ArpView::kLength> request;
    ArpView(request).Emit({ArpOperation::Request, path.sourceMac, path.source, MacAddress(), destination});
    const Clock::time_point end = Clock::now() + kProbeTime;
    for (Clock::time_point now = Clock::now(); now < end; now = Clock::now()) {
        if (sendto(handle, request.data(), request.size(), 0, reinterpret_cast<const sockaddr*>(&wire),
                   sizeof wire) < 0) {
            return FailedCall(L"sendto");
        }
        if (const auto mac = AwaitReply(handle, destination, std::min(now + kTryTime, end))) {
            return *mac;
        }
    }
    return FailedCall(kProbe, ETIMEDOUT);
}

Result<MacAddress> AskKernel(Ipv4Address destination, const ProbePath& path) {
    constexpr std::uint16_t kDiscardPort = 9;
    const Socket nudge(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(kDiscardPort);
    std::memcpy(&peer.sin_addr, destination.Bytes().data(), 4);
    if (nudge.Handle() < 0) {
        return FailedCall(L"socket");
    }
    if (sendto(nudge.Handle(), "", 0, 0, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) < 0) {
        return FailedCall(L"sendto");
    }
    const Clock::time_point end = Clock::now() + kProbeTime;
    while (true) {
        const KernelNeighbour neighbour = FindNeighbour(destination, path.interfaceIndex);
        if (neighbour.mac) {
            return *neighbour.mac;
        }
        if (neighbour.failed || Clock::now() >= end) {
            return FailedCall(kProbe, ETIMEDOUT);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

} // namespace

Result<MacAddress> ProbeArp(Ipv4Address destination, Ipv4Address source) {
    ProbePath path;
    if (auto chosen = ChoosePath(destination, source, path); !chosen) {
        return PassOn(chosen);
    }
    if (path.local) {
        return path.sourceMac;
    }
    // Protocol 0 until it is bound, so that no frames of other interfaces come in meanwhile.
    const Socket wire(AF_PACKET, SOCK_DGRAM, 0);
    if (wire.Handle() >= 0) {
        return Exchange(wire.Handle(), destination, path);
    }
    if (errno == EPERM || errno == EACCES) {
        return AskKernel(destination, path);
    }
    return FailedCall(L"socket");
}

} // namespace vnxtest
