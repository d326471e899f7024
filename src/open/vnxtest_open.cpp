// vnxtest-open: opens one packet socket or TUN/TAP device for a program that may not, and ends.
//
// The only file of the package that has rights (setcap cap_net_raw,cap_net_admin+ep). A program starts it
// with one end of a socket pair as descriptor 3 and sends one record (open_request.h). Everything in it is
// checked (guest_rules.h) without any right in force; then one right is taken up, one thing opened, every
// right given up, and the descriptor passed (unix(7), SCM_RIGHTS). Whatever is wrong, nothing is passed.
// Only system calls that the record needs are made; nothing is read from the environment, standard input,
// arguments or files. All of it: this file, guest_rules, packet_socket and open_request.h, and small
// headers of packets (offsets) and wrenlib (address.h, descriptor_linux.h).
#include <algorithm>
#include <bit>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <ifaddrs.h>
#include <linux/capability.h>
#include <linux/if_tun.h>
#include <linux/nexthop.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <net/if_arp.h>
#include <netinet/in.h>
#include <netpacket/packet.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "open/guest_rules.h"
#include "open/packet_socket.h"

namespace vnxtest {
namespace {

constexpr std::uint32_t kBothRights = 1u << CAP_NET_RAW | 1u << CAP_NET_ADMIN;
constexpr unsigned kSecondsToLive = 10;

// Sets the process's permitted and effective capabilities (numbers below 32); the permitted set never
// grows. False with errno.
bool SetRights(std::uint32_t permitted, std::uint32_t effective) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3] = {};
    const bool known = syscall(SYS_capget, &header, sets) == 0;
    const __user_cap_data_struct next[] = {{effective, sets[0].permitted & permitted, 0}, {}};
    return known && syscall(SYS_capset, &header, next) == 0;
}

// Only the standard descriptors and the socket stay open, no core is dumped, and the process ends within
// ten seconds.
bool Confine() {
    bool done = prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0 && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
    for (const auto& [resource, most] :
         {std::pair(RLIMIT_CORE, 0u), std::pair(RLIMIT_CPU, kSecondsToLive), std::pair(RLIMIT_NOFILE, 16u)}) {
        const rlimit limit{most, most};
        setrlimit(resource, &limit); // fails only where it is lower already
    }
    sigset_t none;
    sigemptyset(&none);
    done = done && signal(SIGALRM, SIG_DFL) != SIG_ERR && sigprocmask(SIG_SETMASK, &none, nullptr) == 0;
    alarm(kSecondsToLive);
    for (int standard = 0; standard < kHelperSocket; ++standard) {
        if (fcntl(standard, F_GETFD) < 0) {
            done = done && open("/dev/null", O_RDWR) == standard;
        }
    }
    return done && syscall(SYS_close_range, kHelperSocket + 1, ~0u, 0) == 0;
}

// Descriptor 3 is one end of a socket pair that the user who runs this process has made.
bool IsFromOwnUser() {
    int type = 0;
    ucred peer{};
    socklen_t typeSize = sizeof type, peerSize = sizeof peer;
    return getsockopt(kHelperSocket, SOL_SOCKET, SO_TYPE, &type, &typeSize) == 0 && type == SOCK_SEQPACKET &&
           getsockopt(kHelperSocket, SOL_SOCKET, SO_PEERCRED, &peer, &peerSize) == 0 && peer.uid == getuid();
}

void SendAnswer(OpenAnswer answer, int descriptor) {
    iovec bytes{&answer, sizeof answer};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof descriptor)> control{};
    msghdr message{nullptr, 0, &bytes, 1, nullptr, 0, 0};
    if (descriptor >= 0) {
        message.msg_control = control.data();
        message.msg_controllen = control.size();
        cmsghdr* const header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(sizeof descriptor);
        std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    }
    sendmsg(kHelperSocket, &message, MSG_NOSIGNAL);
}

// The facts about this host by which a request is judged.
struct KernelFacts : HostFacts {
    std::uint32_t index = 0; // of the adapter; 0: there is no such adapter
    bool up = false, ethernet = false;
};

Ipv4Address AddressOf(const sockaddr* address) {
    return Ipv4Address::FromMemory(reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr);
}

void Note(const ifaddrs& entry, bool wanted, KernelFacts& host) {
    if (entry.ifa_addr->sa_family == AF_INET) {
        host.addresses.push_back(AddressOf(entry.ifa_addr));
        if (wanted && entry.ifa_netmask) {
            host.adapter.push_back({host.addresses.back(), AddressOf(entry.ifa_netmask)});
        }
    } else if (entry.ifa_addr->sa_family == AF_PACKET) {
        const auto& link = *reinterpret_cast<const sockaddr_ll*>(entry.ifa_addr);
        if (std::array<std::uint8_t, 6> mac{}; link.sll_halen == mac.size()) {
            std::copy_n(link.sll_addr, mac.size(), mac.begin());
            host.macs.emplace_back(mac);
        }
        if (wanted) {
            host.index = static_cast<std::uint32_t>(link.sll_ifindex);
            host.up = (entry.ifa_flags & IFF_UP) != 0;
            host.ethernet = link.sll_hatype == ARPHRD_ETHER;
        }
    }
}

struct RouteMessage {
    nlmsghdr header;
    union {
        rtmsg route; // or an nhmsg, which begins with the family, too
        int error;
    };
};

// Dumps all IPv4 routes of all tables, or all next-hop objects (rtnetlink(7)). The attributes of interest
// are eight bytes at a multiple of four, the last four being an address; a route's nested next hops hold
// such ones, too. They are looked for at every multiple of four, so no nesting has to be parsed. A false
// match only keeps one more guest from being served. False with errno if the kernel does not answer; a
// kernel without next-hop objects counts as an answer.
bool GatherRoutes(std::uint16_t what, std::uint32_t size, std::uint16_t gatewayType, HostFacts& host) {
    const RouteMessage request{{size, what, NLM_F_REQUEST | NLM_F_DUMP, 1, 0},
                               {{AF_INET, 0, 0, 0, 0, 0, 0, 0, 0}}};
    const Descriptor kernel(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    if (!kernel || send(kernel.Get(), &request, size, 0) != ssize_t{size}) {
        return false;
    }
    const auto gateway = std::bit_cast<std::uint32_t>(rtattr{8, gatewayType});
    constexpr auto kDestination = std::bit_cast<std::uint32_t>(rtattr{8, RTA_DST});
    const std::uint16_t answer = what - (RTM_GETROUTE - RTM_NEWROUTE);
    static std::array<std::uint32_t, 16384> words; // more than the kernel sends at once
    ssize_t got = 0;
    while ((got = recv(kernel.Get(), words.data(), sizeof words, 0)) > 0) {
        const std::size_t end = static_cast<std::size_t>(got) / sizeof words[0];
        for (std::size_t begin = 0, next = 0; begin < end; begin = next) {
            RouteMessage row{};
            std::memcpy(&row, &words[begin], std::min(sizeof row, (end - begin) * sizeof words[0]));
            next = begin + (row.header.nlmsg_len + 3) / sizeof words[0];
            if (row.header.nlmsg_type == NLMSG_DONE) {
                return true;
            }
            if (row.header.nlmsg_type != answer || next < begin + 4 || next > end) {
                errno = row.header.nlmsg_type == NLMSG_ERROR ? -row.error : EPROTO;
                return what == RTM_GETNEXTHOP && (errno == EOPNOTSUPP || errno == EINVAL);
            }
            const bool local = answer == RTM_NEWROUTE && row.route.rtm_table == RT_TABLE_LOCAL &&
                               row.route.rtm_type == RTN_LOCAL;
            for (std::size_t at = begin; at + 1 < next; ++at) {
                const Ipv4Address address = Ipv4Address::FromMemory(words[at + 1]);
                if (words[at] == gateway) {
                    host.gateways.push_back(address);
                } else if (local && words[at] == kDestination) { // "everything" has none
                    host.local.push_back(
                        {address, Ipv4Address::FromHost(~0u << (32 - row.route.rtm_dst_len))});
                }
            }
        }
    }
    return false;
}

// Needs no right. False with errno if the kernel does not answer, and `call` names what failed.
bool GatherHostFacts(const AdapterName& name, KernelFacts& host, const char*& call) {
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
            Note(*entry, label.substr(0, label.find(':')) == name.data(), host);
        }
    }
    call = "rtnetlink";
    return GatherRoutes(RTM_GETROUTE, NLMSG_LENGTH(sizeof(rtmsg)), RTA_GATEWAY, host) &&
           GatherRoutes(RTM_GETNEXTHOP, NLMSG_LENGTH(sizeof(nhmsg)), NHA_GATEWAY, host);
}

// Keeps the kernel from sending IPv6 solicitations to a guest that has no IPv6. A failure only means that
// it sends them.
void LeaveOutIpv6(const AdapterName& device) {
    const std::string path = std::string("/proc/sys/net/ipv6/conf/") + device.data() + "/addr_gen_mode";
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    [[maybe_unused]] const ssize_t written = write(file.Get(), "1", 1);
}

// A device that is set up, addressed and up. Empty on failure, with errno and the name of the call in
// `call`.
Descriptor OpenDevice(const OpenRequest& request, const char*& call) {
    call = "/dev/net/tun";
    Descriptor made(open("/dev/net/tun", O_RDWR | O_NONBLOCK | O_CLOEXEC));
    const Descriptor inet(made ? socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0) : -1);
    if (!inet) {
        call = made ? "socket" : call;
        return {};
    }
    // `value` is what stands behind the device's name: flags, a number or an address (netdevice(7)).
    const auto set = [&](const Descriptor& to, unsigned long what, const char* name, const auto& value) {
        ifreq step{};
        static_assert(sizeof value <= sizeof step.ifr_ifru && sizeof step.ifr_name == sizeof request.device);
        std::memcpy(step.ifr_name, request.device.data(), sizeof step.ifr_name);
        std::memcpy(&step.ifr_ifru, &value, sizeof value);
        call = name;
        return ioctl(to.Get(), what, &step) == 0;
    };
    const auto address = [](Ipv4Address ip) { return sockaddr_in{AF_INET, 0, {ip.Memory()}, {}}; };
    const bool tap = request.kind == OpenKind::TapDevice;
    // IFF_TUN_EXCL: a device of that name that exists already is somebody else's.
    const int make = (tap ? IFF_TAP : IFF_TUN) | IFF_NO_PI | IFF_TUN_EXCL;
    // The kernel's own flags of such a device, as far as they can be set, and IFF_UP.
    const int flags = IFF_UP | IFF_MULTICAST | (tap ? 0 : IFF_NOARP);
    if (!set(made, TUNSETIFF, "TUNSETIFF", static_cast<short>(make))) {
        return {};
    }
    LeaveOutIpv6(request.device);
    // The guest is the one peer, so the only route is the one to it.
    const bool ready =
        set(inet, SIOCSIFADDR, "SIOCSIFADDR", address(Ipv4Address(request.hostEnd))) &&
        set(inet, SIOCSIFNETMASK, "SIOCSIFNETMASK", address(Ipv4Address(255, 255, 255, 255))) &&
        set(inet, SIOCSIFBRDADDR, "SIOCSIFBRDADDR", address(Ipv4Address())) &&
        set(inet, SIOCSIFDSTADDR, "SIOCSIFDSTADDR", address(Ipv4Address(request.guestIp))) &&
        set(inet, SIOCSIFMTU, "SIOCSIFMTU", request.mtu) &&
        set(inet, SIOCSIFTXQLEN, "SIOCSIFTXQLEN", request.queueLength) &&
        set(inet, SIOCSIFFLAGS, "SIOCSIFFLAGS", static_cast<short>(flags));
    return ready ? std::move(made) : Descriptor();
}

// What was asked for; empty with the reason in `answer`.
Descriptor Serve(const std::optional<OpenRequest>& request, OpenAnswer& answer) {
    const auto fail = [&](int code, const char* call) {
        answer.error = code;
        std::copy_n(call, std::min(std::strlen(call), answer.call.size() - 1), answer.call.begin());
        return Descriptor();
    };
    if (!request) {
        answer.refusal = Refusal::BadRequest;
        return fail(EINVAL, "");
    }
    const std::uint32_t right = 1u << (request->IsDevice() ? CAP_NET_ADMIN : CAP_NET_RAW);
    const char* call = "";
    KernelFacts host;
    if (!GatherHostFacts(request->adapter, host, call)) {
        return fail(errno, call);
    }
    if (host.index == 0 || !host.up || !host.ethernet) {
        return fail(host.index == 0 ? ENODEV : !host.up ? ENETDOWN : EAFNOSUPPORT, "adapter");
    }
    answer.refusal = JudgeRequest(*request, host);
    if (answer.refusal != Refusal::None) {
        return fail(EACCES, "refused");
    }
    if (!SetRights(right, right)) {
        return fail(EPERM, "capset"); // the file has not been given it
    }
    const MacAddress mac(request->guestMac);
    Descriptor made = request->IsDevice() ? OpenDevice(*request, call)
                                          : OpenPacketSocket(request->kind, host.index, mac, true, call);
    return made ? std::move(made) : fail(errno, call);
}

} // namespace
} // namespace vnxtest

int main() {
    using namespace vnxtest;
    if (!Confine() || !SetRights(kBothRights, 0)) {
        return 2;
    }
    if (getuid() != geteuid() || getgid() != getegid() || !IsFromOwnUser()) {
        constexpr std::string_view kText =
            "vnxtest-open: vnxtest and vnxtest-cli start this program; it does nothing by itself.\n";
        [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, kText.data(), kText.size());
        return 2;
    }
    std::array<std::uint8_t, sizeof(OpenRequest) + 1> bytes{};
    const ssize_t got = recv(kHelperSocket, bytes.data(), bytes.size(), 0); // descriptors in it are not taken
    OpenAnswer answer;
    const Descriptor made =
        Serve(ParseOpenRequest(bytes.data(), got < 0 ? 0 : static_cast<std::size_t>(got)), answer);
    if (!SetRights(0, 0)) {
        return 2;
    }
    SendAnswer(answer, made.Get());
    return answer.error == 0 ? 0 : 1;
}
