// vnxtest-open: opens one packet socket or TUN/TAP device for a program that may not, and is gone.
//
// The only file of the package that has rights (setcap cap_net_raw,cap_net_admin+ep). A program starts it
// with one end of a socket pair as descriptor 3 and sends one record (open_request.h). Everything in it is
// checked (guest_rules.h) without any right in force; then one right is taken up, one thing opened, every
// right given up, and the descriptor passed (unix(7), SCM_RIGHTS). Whatever is wrong, nothing is passed.
// Only system calls that the record needs are made; nothing is read from the environment, standard input,
// arguments or files.
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/capability.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "open/host_facts.h"
#include "open/packet_filter.h"

namespace vnxtest {
namespace {

constexpr std::uint32_t kBothRights = 1u << CAP_NET_RAW | 1u << CAP_NET_ADMIN;
constexpr unsigned kSecondsToLive = 10;

// This process's rights from now on, both sets below 32; never more than before. False with errno.
bool SetRights(std::uint32_t permitted, std::uint32_t effective) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3] = {};
    if (syscall(SYS_capget, &header, sets) != 0) {
        return false;
    }
    sets[0] = {effective, sets[0].permitted & permitted, 0};
    sets[1] = {};
    return syscall(SYS_capset, &header, sets) == 0;
}

// Nothing is inherited but the socket, nothing is written, and nothing outlives a few seconds.
bool Confine() {
    bool done = prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0 && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0;
    for (const auto& [resource, most] :
         {std::pair(RLIMIT_CORE, 0u), std::pair(RLIMIT_CPU, kSecondsToLive), std::pair(RLIMIT_NOFILE, 16u)}) {
        rlimit limit{};
        done = done && getrlimit(resource, &limit) == 0;
        limit.rlim_max = std::min<rlim_t>(limit.rlim_max, most);
        limit.rlim_cur = std::min(limit.rlim_cur, limit.rlim_max);
        done = done && setrlimit(resource, &limit) == 0;
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

// Descriptor 3 is a socket pair's end, and the other end was made by who is served here.
bool IsFromOwnUser() {
    int type = 0;
    ucred peer{};
    socklen_t typeSize = sizeof type, peerSize = sizeof peer;
    return getsockopt(kHelperSocket, SOL_SOCKET, SO_TYPE, &type, &typeSize) == 0 && type == SOCK_SEQPACKET &&
           getsockopt(kHelperSocket, SOL_SOCKET, SO_PEERCRED, &peer, &peerSize) == 0 && peer.uid == getuid();
}

void SendAnswer(const OpenAnswer& answer, int descriptor) {
    iovec bytes{const_cast<OpenAnswer*>(&answer), sizeof answer};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof descriptor)> control{};
    msghdr message{};
    message.msg_iov = &bytes;
    message.msg_iovlen = 1;
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

// One step after the other on the new device (netdevice(7)); the first that fails is named.
class DeviceSetup {
public:
    DeviceSetup(const ifreq& named, const char*& call)
        : m_named(named), m_call(call), m_socket(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {}
    ~DeviceSetup() { close(m_socket); }
    DeviceSetup(const DeviceSetup&) = delete;
    DeviceSetup& operator=(const DeviceSetup&) = delete;

    bool SetAddress(unsigned long what, const char* call, Ipv4Address address) {
        sockaddr_in inet{};
        inet.sin_family = AF_INET;
        inet.sin_addr.s_addr = address.Memory();
        ifreq request = m_named;
        std::memcpy(&request.ifr_addr, &inet, sizeof inet);
        return Do(what, call, request);
    }
    bool SetNumber(unsigned long what, const char* call, std::uint32_t value) {
        ifreq request = m_named;
        request.ifr_mtu = static_cast<int>(value); // in one place with the queue's length
        return Do(what, call, request);
    }
    bool BringUp() {
        ifreq request = m_named;
        if (!Do(SIOCGIFFLAGS, "SIOCGIFFLAGS", request)) {
            return false;
        }
        request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
        return Do(SIOCSIFFLAGS, "SIOCSIFFLAGS", request);
    }

private:
    bool Do(unsigned long what, const char* call, ifreq& request) {
        m_call = call;
        return ioctl(m_socket, what, &request) == 0;
    }

    const ifreq m_named;
    const char*& m_call;
    const int m_socket;
};

// The kernel would send IPv6 solicitations to a guest that has no IPv6. Where it cannot be had, it does.
void LeaveOutIpv6(const AdapterName& device) {
    std::array<char, 80> path{};
    std::strcat(std::strcat(std::strcpy(path.data(), "/proc/sys/net/ipv6/conf/"), device.data()),
                "/addr_gen_mode");
    const int file = open(path.data(), O_WRONLY | O_CLOEXEC);
    [[maybe_unused]] const ssize_t written = write(file, "1", 1);
    close(file);
}

int OpenDevice(const OpenRequest& request, const char*& call) {
    call = "/dev/net/tun";
    const int made = open("/dev/net/tun", O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (made < 0) {
        return -1;
    }
    ifreq named{};
    std::memcpy(named.ifr_name, request.device.data(), sizeof named.ifr_name);
    ifreq create = named;
    // Its own: one of that name that is there already would be somebody's.
    create.ifr_flags = static_cast<short>((request.kind == OpenKind::TapDevice ? IFF_TAP : IFF_TUN) |
                                          IFF_NO_PI | IFF_TUN_EXCL);
    call = "TUNSETIFF";
    if (ioctl(made, TUNSETIFF, &create) == 0) {
        LeaveOutIpv6(request.device);
        DeviceSetup setup(named, call);
        // The guest is the one peer: the only route is that to itself.
        if (setup.SetAddress(SIOCSIFADDR, "SIOCSIFADDR", Ipv4Address(request.hostEnd)) &&
            setup.SetAddress(SIOCSIFNETMASK, "SIOCSIFNETMASK", Ipv4Address(255, 255, 255, 255)) &&
            setup.SetAddress(SIOCSIFBRDADDR, "SIOCSIFBRDADDR", Ipv4Address()) &&
            setup.SetAddress(SIOCSIFDSTADDR, "SIOCSIFDSTADDR", Ipv4Address(request.guestIp)) &&
            setup.SetNumber(SIOCSIFMTU, "SIOCSIFMTU", request.mtu) &&
            setup.SetNumber(SIOCSIFTXQLEN, "SIOCSIFTXQLEN", request.queueLength) && setup.BringUp()) {
            return made;
        }
    }
    const int code = errno;
    close(made);
    errno = code;
    return -1;
}

// The descriptor, or -1 with what is to be answered.
int Serve(const OpenRequest& request, OpenAnswer& answer) {
    const auto fail = [&](int code, const char* call) {
        answer.error = code;
        std::copy_n(call, std::min(std::strlen(call), answer.call.size() - 1), answer.call.begin());
        return -1;
    };
    const bool device = IsDevice(request.kind);
    const std::uint32_t right = 1u << (device ? CAP_NET_ADMIN : CAP_NET_RAW);
    const char* call = "";
    HostFacts host;
    AdapterFacts adapter;
    if (!GatherHostFacts(request.adapter, host, adapter, call)) {
        return fail(errno, call);
    }
    if (adapter.index == 0 || !adapter.up || !adapter.ethernet) {
        return fail(adapter.index == 0 ? ENODEV : !adapter.up ? ENETDOWN : EAFNOSUPPORT, "adapter");
    }
    answer.refusal = JudgeRequest(request, host);
    if (answer.refusal != Refusal::None) {
        return fail(EACCES, "refused");
    }
    if (!SetRights(right, right)) {
        return fail(EPERM, "capset"); // the file has not been given it
    }
    const auto kind = static_cast<PacketSocketKind>(request.kind);
    const int made = device ? OpenDevice(request, call)
                            : OpenPacketSocket(kind, adapter.index, MacAddress(request.guestMac), true, call);
    const int code = errno;
    return made >= 0 ? made : fail(code, call);
}

int Main() {
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
    const auto request = ParseOpenRequest(bytes.data(), got < 0 ? 0 : static_cast<std::size_t>(got));
    OpenAnswer answer;
    int descriptor = -1;
    if (request) {
        descriptor = Serve(*request, answer);
    } else {
        answer.error = EINVAL;
        answer.refusal = Refusal::BadRequest;
    }
    if (!SetRights(0, 0)) {
        return 2;
    }
    SendAnswer(answer, descriptor);
    return answer.error == 0 ? 0 : 1;
}

} // namespace
} // namespace vnxtest

int main() {
    return vnxtest::Main();
}
