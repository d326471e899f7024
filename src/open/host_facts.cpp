#include "open/host_facts.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>

#include <ifaddrs.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netinet/in.h>
#include <netpacket/packet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace vnxtest {
namespace {

Ipv4Address AddressOf(const sockaddr* address) {
    sockaddr_in inet{};
    std::memcpy(&inet, address, sizeof inet);
    return Ipv4Address::FromMemory(inet.sin_addr.s_addr);
}

void Note(const ifaddrs& entry, bool wanted, HostFacts& host, AdapterFacts& adapter) {
    if (entry.ifa_addr->sa_family == AF_INET) {
        host.addresses.push_back(AddressOf(entry.ifa_addr));
        if (wanted && entry.ifa_netmask) {
            host.adapter.push_back({host.addresses.back(), AddressOf(entry.ifa_netmask)});
        }
    } else if (entry.ifa_addr->sa_family == AF_PACKET) {
        sockaddr_ll link{};
        std::memcpy(&link, entry.ifa_addr, sizeof link);
        std::array<std::uint8_t, 6> mac{};
        if (link.sll_halen == mac.size()) {
            std::memcpy(mac.data(), link.sll_addr, mac.size());
            host.macs.emplace_back(mac);
        }
        if (wanted) {
            adapter = {static_cast<std::uint32_t>(link.sll_ifindex), (entry.ifa_flags & IFF_UP) != 0,
                       link.sll_hatype == ARPHRD_ETHER};
        }
    }
}

using Bytes = std::span<const std::uint8_t>;

// Takes the first of the records in `bytes` (rtnetlink(7): a header with the length of both, then what it
// holds, both of lengths that are multiples of four) off them. False when there is none, or none that is
// whole.
template <typename Header, typename Length>
bool TakeRecord(Bytes& bytes, Length Header::*length, Header& header, Bytes& content) {
    if (bytes.size() < sizeof header) {
        return false;
    }
    std::memcpy(&header, bytes.data(), sizeof header);
    const std::size_t size = header.*length;
    if (size < sizeof header || size > bytes.size()) {
        return false;
    }
    content = bytes.subspan(sizeof header, size - sizeof header);
    bytes = bytes.subspan(std::min(bytes.size(), (size + 3) / 4 * 4));
    return true;
}

// The gateways in the attributes of a route, or of one of its next hops.
void NoteGateways(Bytes attributes, HostFacts& host) {
    rtattr attribute{};
    for (Bytes content; TakeRecord(attributes, &rtattr::rta_len, attribute, content);) {
        if (attribute.rta_type == RTA_GATEWAY && content.size() == 4) {
            std::uint32_t image = 0;
            std::memcpy(&image, content.data(), sizeof image);
            host.gateways.push_back(Ipv4Address::FromMemory(image));
        } else if (attribute.rta_type == RTA_MULTIPATH) {
            rtnexthop hop{};
            for (Bytes ofHop; TakeRecord(content, &rtnexthop::rtnh_len, hop, ofHop);) {
                NoteGateways(ofHop, host);
            }
        }
    }
}

// Asks for all IPv4 routes of all tables (rtnetlink(7)).
bool GatherGateways(int socket, HostFacts& host) {
    struct {
        nlmsghdr header{sizeof(nlmsghdr) + sizeof(rtmsg), RTM_GETROUTE, NLM_F_REQUEST | NLM_F_DUMP, 1, 0};
        rtmsg route{};
    } request;
    request.route.rtm_family = AF_INET;
    if (send(socket, &request, sizeof request, 0) != static_cast<ssize_t>(sizeof request)) {
        return false;
    }
    static std::array<std::uint8_t, 65536> buffer;
    for (;;) {
        const ssize_t got = recv(socket, buffer.data(), buffer.size(), 0);
        if (got <= 0) {
            return false;
        }
        Bytes messages(buffer.data(), static_cast<std::size_t>(got)), content;
        for (nlmsghdr header{}; TakeRecord(messages, &nlmsghdr::nlmsg_len, header, content);) {
            if (header.nlmsg_type == NLMSG_DONE) {
                return true;
            }
            if (header.nlmsg_type != RTM_NEWROUTE || content.size() < sizeof(rtmsg)) {
                errno = EPROTO;
                return false;
            }
            NoteGateways(content.subspan(sizeof(rtmsg)), host);
        }
    }
}

} // namespace

bool GatherHostFacts(const AdapterName& name, HostFacts& host, AdapterFacts& adapter, const char*& call) {
    call = "getifaddrs";
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) {
        return false;
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(list, freeifaddrs);
    for (const ifaddrs* entry = list; entry; entry = entry->ifa_next) {
        // An address may carry a label ("eth0:1") in place of the adapter's name.
        const std::string_view label = entry->ifa_name;
        if (entry->ifa_addr) {
            Note(*entry, label.substr(0, label.find(':')) == name.data(), host, adapter);
        }
    }
    call = "rtnetlink";
    const int socket = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    const bool gathered = socket >= 0 && GatherGateways(socket, host);
    const int code = errno;
    close(socket);
    errno = code;
    return gathered;
}

} // namespace vnxtest
