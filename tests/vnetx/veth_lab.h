// A network for a test: a fresh network namespace for the test's own thread, a veth adapter in it,
// and another host (the kernel of a second namespace) at its other end.
//
// Nothing has a global name and nothing is left behind: both namespaces end with the process. Making
// them needs root; without it the tests are skipped and say so.
#pragma once

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <unistd.h>

#include "vnetx/builtin.h"
#include "vnetx/descriptor_linux.h"
#include "vnetx/library_guest.h"

namespace vnxtest {

// Runs a shell command; true when it succeeds.
inline bool Shell(const std::string& command) {
    return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}

inline std::string Output(const std::string& command) {
    std::string text;
    FILE* pipe = popen(command.c_str(), "r");
    for (int c = fgetc(pipe); c != EOF; c = fgetc(pipe)) {
        text += static_cast<char>(c);
    }
    pclose(pipe);
    return text;
}

// Adapter vt0 here, vt1 with the other host.
class LabTest : public testing::Test {
protected:
    using Clock = std::chrono::steady_clock;
    static constexpr Ipv4Address kAdapter{10, 79, 0, 1}, kPeer{10, 79, 0, 2}, kGuest{10, 79, 0, 50};
    static constexpr MacAddress kAdapterMac{{2, 0, 0, 0, 0x79, 1}}, kPeerMac{{2, 0, 0, 0, 0x79, 2}};

    void SetUp() override {
        if (!MakeNetwork()) {
            GTEST_SKIP() << "skipped: needs root, network namespaces and iproute2";
        }
    }
    ~LabTest() override {
        if (m_own) {
            Shell("ip link del vt0");
        }
    }

    // A command on the other host.
    bool Peer(const std::string& command) const {
        return Shell("nsenter --net=/proc/" + std::to_string(getpid()) + "/fd/" +
                     std::to_string(m_peer.Get()) + " sh -c '" + command + "'");
    }
    // A raw socket at the other end of the wire: what a second program there sends and sees.
    Descriptor RawPeer() const {
        setns(m_peer.Get(), CLONE_NEWNET);
        Descriptor made(socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(0x0003)));
        sockaddr_ll address{};
        address.sll_family = AF_PACKET;
        address.sll_protocol = htons(0x0003);
        address.sll_ifindex = static_cast<int>(if_nametoindex("vt1"));
        EXPECT_EQ(bind(made.Get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        setns(m_own.Get(), CLONE_NEWNET);
        return made;
    }
    static GuestOptions OnTheWire(bool tap) {
        return {.tap = tap, .ip = kGuest, .adapter = "10.79.0.1", .mask = {255, 255, 255, 0}};
    }
    static bool Readable(const LibraryGuest& guest, int milliseconds) {
        pollfd wait{guest.Handle(), POLLIN, 0};
        return poll(&wait, 1, milliseconds) == 1;
    }
    // Reads until it fails, which it must within a while: what it failed with.
    static int EndOfReads(LibraryGuest& guest) {
        std::int32_t last = 0;
        for (const auto end = Clock::now() + std::chrono::seconds(5); last >= 0 && Clock::now() < end;) {
            last = guest.TryRead();
        }
        return ErrorOf(last);
    }

private:
    static Descriptor NewNamespace() {
        const char* const own = "/proc/thread-self/ns/net";
        return Descriptor(unshare(CLONE_NEWNET) == 0 ? open(own, O_RDONLY | O_CLOEXEC) : -1);
    }
    bool MakeNetwork() {
        const std::string quiet = "sysctl -qw net.ipv6.conf.default.disable_ipv6=1; ip link set lo up";
        m_peer = NewNamespace();
        if (!m_peer || !Shell(quiet)) {
            return false;
        }
        m_own = NewNamespace();
        return m_own && Shell(quiet) &&
               Peer("ip link add vt1 address 02:00:00:00:79:02 type veth peer name vt0 netns " +
                    std::to_string(getpid()) +
                    " && ip addr add 10.79.0.2/24 dev vt1 && ip link set vt1 up") &&
               Shell("ip link set vt0 address 02:00:00:00:79:01 && ip addr add 10.79.0.1/24 dev vt0 && "
                     "sysctl -qw net.ipv6.conf.default.disable_ipv6=0; ip link set vt0 up");
    }

    Descriptor m_peer, m_own;
};

// The same in both modes.
class LabModesTest : public LabTest, public testing::WithParamInterface<bool> {};
inline std::string ModeName(const testing::TestParamInfo<bool>& mode) {
    return mode.param ? "Tap" : "Tun";
}

} // namespace vnxtest
