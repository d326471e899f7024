// A network for a test: a fresh network namespace for the test's own thread, a veth adapter in it,
// and another host (the kernel of a second namespace) at its other end.
//
// Nothing has a global name and nothing is left behind: both namespaces end with the test program.
// Making it needs root; VethLab::WhyNot() says in words what is missing.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <thread>

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "vnetx/builtin.h"
#include "vnetx/support_vnetx.h"

namespace vnxtest {

// Runs a shell command; its exit status.
inline int Shell(const std::string& command) {
    const int status = std::system((command + " >/dev/null 2>&1").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

inline bool Readable(std::int32_t handle, int milliseconds) {
    pollfd wait{handle, POLLIN, 0};
    return poll(&wait, 1, milliseconds) == 1;
}

// Adapter vt0 (10.79.0.1/24) here, vt1 (10.79.0.2/24) with the other host.
class VethLab {
public:
    static constexpr const char* kAdapterText = "10.79.0.1";
    static constexpr Ipv4Address kAdapter{10, 79, 0, 1};
    static constexpr Ipv4Address kPeer{10, 79, 0, 2};
    static constexpr Ipv4Address kGuest{10, 79, 0, 50};
    static constexpr MacAddress kAdapterMac{{2, 0, 0, 0, 0, 1}};
    static constexpr MacAddress kPeerMac{{2, 0, 0, 0, 0, 2}};

    VethLab() {
        // The first new namespace becomes the other host's: its descriptor keeps it alive.
        if (geteuid() != 0 || unshare(CLONE_NEWNET) != 0 ||
            (m_peer = open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC)) < 0 ||
            (m_wire = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, 0)) < 0 || unshare(CLONE_NEWNET) != 0) {
            m_whyNot = std::string("needs root for network namespaces: ") + strerror(errno);
            return;
        }
        m_peerPath = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(m_peer);
        ifreq far{{"vt1"}, {}};
        if (Shell("ip link set lo up && ip link add vt0 address 02:00:00:00:00:01 type veth peer name vt1 "
                  "address 02:00:00:00:00:02 && ip link set vt1 netns " +
                  m_peerPath +
                  " && sysctl -qw net.ipv6.conf.vt0.disable_ipv6=1 && ip addr add 10.79.0.1/24 dev vt0"
                  " && ip link set vt0 up") != 0 ||
            Peer("sysctl -qw net.ipv6.conf.all.disable_ipv6=1 net.ipv6.conf.default.disable_ipv6=1; "
                 "ip addr add 10.79.0.2/24 dev vt1 && ip link set vt1 up") != 0 ||
            ioctl(m_wire, SIOCGIFINDEX, &far) != 0) {
            m_whyNot = "veth adapters cannot be made here (is iproute2 installed?)";
            return;
        }
        sockaddr_ll address{};
        address.sll_family = AF_PACKET;
        address.sll_protocol = htons(0x0003);
        address.sll_ifindex = far.ifr_ifindex;
        EXPECT_EQ(bind(m_wire, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    }
    ~VethLab() {
        Shell("ip link del vt0");
        close(m_wire);
        close(m_peer);
    }
    VethLab(const VethLab&) = delete;
    VethLab& operator=(const VethLab&) = delete;

    const std::string& WhyNot() const { return m_whyNot; }

    // A command on the other host.
    int Peer(const std::string& command) const {
        return Shell("nsenter --net=" + m_peerPath + " sh -c '" + command + "'");
    }

    // A raw socket at the other end of the wire: what a second program there sends and sees.
    int Wire() const { return m_wire; }

private:
    std::string m_whyNot;
    int m_peer = -1;
    int m_wire = -1;
    std::string m_peerPath;
};

// A guest at the lab's adapter, and the raw socket at the other end.
class VethTest : public testing::Test {
protected:
    static constexpr MacAddress kStranger{{2, 0, 0, 0, 0, 0x77}};

    explicit VethTest(std::unique_ptr<VnetxLibrary> library) : m_library(std::move(library)) {}
    void SetUp() override {
        if (!m_lab.WhyNot().empty()) {
            GTEST_SKIP() << "skipped: " << m_lab.WhyNot();
        }
    }

    bool Open(bool tap, bool notify = false) {
        return m_guest.Open(VethLab::kAdapterText,
                            {.tap = tap, .ip = VethLab::kGuest, .socketNotify = notify});
    }
    void OpenUp(bool tap, bool notify = false) {
        ASSERT_TRUE(Open(tap, notify) && m_guest.Up()) << strerror(errno);
        m_mac = m_guest.Mac();
    }
    static Bytes Frame(MacAddress destination, MacAddress source, std::uint16_t type, std::size_t length) {
        Bytes frame(length, 0x55);
        BuildEthernetHeader(frame.data(), {destination, source, type});
        return frame;
    }
    void Put(const Bytes& frame) {
        ASSERT_EQ(send(m_lab.Wire(), frame.data(), frame.size(), 0), static_cast<ssize_t>(frame.size()))
            << errno;
    }
    // The next frame for which `wanted` holds that the other end sees, the guest reading meanwhile as
    // the program's thread does; empty when none comes within a while.
    template <typename Wanted>
    Bytes Seen(Wanted wanted) {
        m_guest.SetValue(VNETX_VNXSTIMEOUT, 5);
        Bytes frame(65535);
        for (const auto end = Clock::now() + 1s; Clock::now() < end; m_guest.Read()) {
            for (ssize_t got = 0; (got = recv(m_lab.Wire(), frame.data(), frame.size(), MSG_DONTWAIT)) > 0;) {
                if (wanted(frame)) {
                    frame.resize(static_cast<std::size_t>(got));
                    return frame;
                }
            }
        }
        return {};
    }
    // The adapter or device has gone: in notify mode the waiter is woken and a read fails with `code`.
    // The first reads may still be the last of a quiet moment.
    void ExpectTheReaderIsTold(int code, bool notify) {
        std::int32_t last = 0;
        for (const auto end = Clock::now() + 3s; last >= 0 && Clock::now() < end;) {
            ASSERT_TRUE(!notify || Readable(m_guest.handle, 3000));
            last = m_guest.Read();
        }
        EXPECT_TRUE(Fails(last, code)) << errno;
    }

    VethLab m_lab;
    const std::unique_ptr<VnetxLibrary> m_library;
    GuestHandle m_guest{*m_library};
    MacAddress m_mac;
};

} // namespace vnxtest
