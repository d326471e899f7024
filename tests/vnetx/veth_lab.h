// A network for a test: a fresh network namespace for the test's own thread, a veth adapter in it,
// and another host (the kernel of a second namespace) at its other end.
//
// Nothing has a global name and nothing is left behind: both namespaces end with their processes.
// Making it needs root; Veth::WhyNot() says in words what is missing.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "vnetx/builtin.h"
#include "vnetx/checksum.h"
#include "vnetx/vnetx.h"
#include "vnetx/wire_format.h"

namespace vnxtest {

// Runs a shell command; its exit status.
inline int Shell(const std::string& command) {
    const int status = std::system((command + " >/dev/null 2>&1").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

inline std::string Output(const std::string& command) {
    std::string text;
    FILE* pipe = popen(command.c_str(), "r");
    for (int c = pipe ? fgetc(pipe) : EOF; c != EOF; c = fgetc(pipe)) {
        text += static_cast<char>(c);
    }
    if (pipe) {
        pclose(pipe);
    }
    return text;
}

// Adapter vt0 (10.79.0.1/24) here, vt1 (10.79.0.2/24) with the other host.
class VethLab {
public:
    static constexpr const char* kAdapterText = "10.79.0.1";
    static constexpr Ipv4Address kAdapter{10, 79, 0, 1};
    static constexpr Ipv4Address kPeer{10, 79, 0, 2};
    static constexpr Ipv4Address kGuest{10, 79, 0, 50};

    VethLab() {
        if (geteuid() != 0) {
            m_whyNot = "needs root for network namespaces";
            return;
        }
        if (unshare(CLONE_NEWNET) != 0) {
            m_whyNot = std::string("no network namespaces here: ") + strerror(errno);
            return;
        }
        m_peer = fork();
        if (m_peer == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            _exit(unshare(CLONE_NEWNET) == 0 && pause() ? 0 : 1);
        }
        // The peer's namespace is there once it differs from ours.
        char own[64] = "";
        char its[64] = "";
        for (int i = 0; i < 1000; ++i) {
            const ssize_t a = readlink("/proc/thread-self/ns/net", own, sizeof own - 1);
            const ssize_t b =
                readlink(("/proc/" + std::to_string(m_peer) + "/ns/net").c_str(), its, sizeof its - 1);
            if (a > 0 && b > 0 && strcmp(own, its) != 0) {
                break;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        const std::string pid = std::to_string(m_peer);
        if (Shell("ip link set lo up && ip link add vt0 type veth peer name vt1 && ip link set vt1 netns " +
                  pid +
                  " && sysctl -qw net.ipv6.conf.vt0.disable_ipv6=1"
                  " && ip addr add 10.79.0.1/24 dev vt0 && ip link set vt0 up") != 0 ||
            Peer("sysctl -qw net.ipv6.conf.all.disable_ipv6=1 net.ipv6.conf.default.disable_ipv6=1; ip link "
                 "set lo up && "
                 "ip addr add 10.79.0.2/24 dev vt1 && ip link set vt1 up") != 0) {
            m_whyNot = "veth adapters cannot be made here (is iproute2 installed?)";
        }
    }
    ~VethLab() {
        if (m_peer > 0) {
            kill(m_peer, SIGKILL);
            waitpid(m_peer, nullptr, 0);
        }
        Shell("ip link del vt0");
    }
    VethLab(const VethLab&) = delete;
    VethLab& operator=(const VethLab&) = delete;

    const std::string& WhyNot() const { return m_whyNot; }

    // A command on the other host.
    int Peer(const std::string& command) const { return Shell(PeerCommand(command)); }
    std::string PeerOutput(const std::string& command) const { return Output(PeerCommand(command)); }
    std::string PeerCommand(const std::string& command) const {
        return "nsenter -t " + std::to_string(m_peer) + " -n sh -c '" + command + "'";
    }
    MacAddress PeerMac() const { return MacIn(PeerOutput("ip link show vt1")); }
    MacAddress AdapterMac() const { return MacIn(Output("ip link show vt0")); }

    // The MAC in the output of "ip link show".
    static MacAddress MacIn(const std::string& text) {
        const std::size_t at = text.find("link/ether ");
        const std::string mac = at == std::string::npos ? "" : text.substr(at + 11, 17);
        return ParseMACAddress(std::wstring(mac.begin(), mac.end())).value_or(MacAddress());
    }

    // A raw socket at the other end of the wire: what a second program there sends and sees.
    int RawPeer() const {
        int made = -1;
        std::thread([&] {
            const std::string path = "/proc/" + std::to_string(m_peer) + "/ns/net";
            FILE* ns = fopen(path.c_str(), "r");
            if (ns && setns(fileno(ns), CLONE_NEWNET) == 0) {
                made = socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(0x0003));
                sockaddr_ll address{};
                address.sll_family = AF_PACKET;
                address.sll_protocol = htons(0x0003);
                address.sll_ifindex = static_cast<int>(if_nametoindex("vt1"));
                if (bind(made, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
                    close(made);
                    made = -1;
                }
            }
            if (ns) {
                fclose(ns);
            }
        }).join();
        return made;
    }

private:
    std::string m_whyNot;
    pid_t m_peer = -1;
};

#define VNXTEST_SKIP_WITHOUT_LAB(lab)                                                                        \
    if (!(lab).WhyNot().empty()) {                                                                           \
        GTEST_SKIP() << "skipped: " << (lab).WhyNot();                                                       \
    }

// One open guest interface of a library, configured as the program configures it.
class GuestHandle {
public:
    explicit GuestHandle(VnetxLibrary& library) : m_library(library) {}
    ~GuestHandle() { Close(); }

    // Everything up to IFF_UP; false with errno at the first request that fails.
    bool Open(bool tap, bool notify = false, const char* adapter = VethLab::kAdapterText,
              Ipv4Address mask = Ipv4Address(255, 255, 255, 0), Ipv4Address guest = VethLab::kGuest) {
        handle = m_library.Open(adapter, VNETX_OPEN_READ_WRITE | (notify ? VNETX_OPEN_SOCKET_NOTIFY : 0));
        if (handle < 0) {
            return false;
        }
        VnetxInterfaceRequest request{};
        request.u.flags = static_cast<std::uint16_t>((tap ? VNETX_IFF_TAP : VNETX_IFF_TUN) | VNETX_IFF_NO_PI);
        if (m_library.Ioctl(handle, VNETX_TUNSETIFF, &request) != 0) {
            return false;
        }
        name = request.name;
        return SetAddress(VNETX_SIOCSIFADDR, VethLab::kAdapter) == 0 &&
               SetAddress(VNETX_SIOCSIFDSTADDR, guest) == 0 && SetAddress(VNETX_SIOCSIFNETMASK, mask) == 0 &&
               (notify || SetValue(VNETX_VNXSTIMEOUT, 250) == 0);
    }
    bool Up() { return SetFlags(VNETX_IFF_UP) == 0; }
    void Close() {
        if (handle >= 0) {
            m_library.Close(handle);
            handle = -1;
        }
    }

    VnetxInterfaceRequest Request() const {
        VnetxInterfaceRequest request{};
        std::memcpy(request.name, name.data(), name.size());
        return request;
    }
    int SetFlags(int flags) {
        auto request = Request();
        request.u.flags = static_cast<std::uint16_t>(flags);
        return m_library.Ioctl(handle, VNETX_SIOCSIFFLAGS, &request);
    }
    int SetValue(std::uint32_t code, std::uint32_t value) {
        auto request = Request();
        request.u.value = value;
        return m_library.Ioctl(handle, code, &request);
    }
    int SetAddress(std::uint32_t code, Ipv4Address address) {
        auto request = Request();
        request.u.inet.family = VNETX_AF_INET;
        StoreIpv4(request.u.inet.address, address);
        return m_library.Ioctl(handle, code, &request);
    }
    MacAddress Mac() {
        auto request = Request();
        return m_library.Ioctl(handle, VNETX_SIOCGIFHWADDR, &request) == 0 ? LoadMac(request.u.hardware.mac)
                                                                           : MacAddress();
    }
    // SIOCGARP; zero when it fails.
    MacAddress Arp(Ipv4Address address) { return Arp(m_library, handle, address); }
    static MacAddress Arp(VnetxLibrary& library, std::int32_t handle, Ipv4Address address) {
        VnetxArpRequest request{};
        request.protocolFamily = VNETX_AF_INET;
        StoreIpv4(request.protocolAddress, address);
        request.flags = VNETX_ATF_PERMANENT;
        return library.Ioctl(handle, VNETX_SIOCGARP, &request) == 0 ? LoadMac(request.hardwareAddress)
                                                                    : MacAddress();
    }
    VnetxStatistics Statistics() {
        VnetxStatistics record{};
        record.length = sizeof record;
        EXPECT_EQ(m_library.GetStats(handle, &record), 0);
        return record;
    }
    // One read; its length, the bytes in `frame`.
    std::int32_t Read() {
        frame.resize(65535);
        const std::int32_t got = m_library.Read(handle, frame.data(), 65535);
        frame.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
        return got;
    }
    std::int32_t Write(std::span<const std::uint8_t> bytes) {
        return m_library.Write(handle, bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    }

    std::int32_t handle = -1;
    std::string name;
    std::vector<std::uint8_t> frame;

private:
    VnetxLibrary& m_library;
};

// A guest that answers ARP and ping, on a thread of its own, until it is destroyed.
class EchoGuest {
public:
    EchoGuest(VnetxLibrary& library, GuestHandle& guest, bool tap)
        : m_library(library), m_guest(guest), m_tap(tap), m_mac(guest.Mac()), m_thread([this] { Run(); }) {}
    ~EchoGuest() { Stop(); }
    void Stop() {
        m_stop = true;
        if (m_thread.joinable()) {
            m_thread.join();
        }
    }
    int Failure() const { return m_failure; } // errno of what ended it early
    int Pings() const { return m_pings; }     // answered so far

private:
    void Run() {
        std::vector<std::uint8_t> buffer(65535);
        while (!m_stop) {
            const std::int32_t got = m_library.Read(m_guest.handle, buffer.data(), 65535);
            if (got < 0) {
                m_failure = errno;
                return;
            }
            const std::int32_t answer = Answer({buffer.data(), static_cast<std::size_t>(got)});
            if (answer > 0 && m_library.Write(m_guest.handle, buffer.data(),
                                              static_cast<std::uint32_t>(answer)) != answer) {
                m_failure = errno;
                return;
            }
        }
    }

    // Turns the frame into its answer in place; the answer's length, or 0.
    std::int32_t Answer(std::span<std::uint8_t> frame) {
        std::size_t offset = 0;
        if (m_tap && frame.size() >= kArpFrameLength) {
            const std::uint16_t type = LoadBe16(frame.data() + 12);
            if (type == kEtherTypeArp) {
                const auto arp = ParseArp(frame.subspan(14));
                if (!arp || arp->operation != kArpRequest || arp->targetIp != VethLab::kGuest) {
                    return 0;
                }
                const auto reply =
                    BuildArpFrame(arp->senderMac, m_mac,
                                  {kArpReply, m_mac, VethLab::kGuest, arp->senderMac, arp->senderIp});
                std::copy(reply.begin(), reply.end(), frame.begin());
                return static_cast<std::int32_t>(reply.size());
            }
            if (type != kEtherTypeIpv4) {
                return 0;
            }
            std::swap_ranges(frame.begin(), frame.begin() + 6, frame.begin() + 6);
            offset = 14;
        }
        const auto packet = frame.subspan(offset);
        if (packet.size() < 28 || packet[9] != 1 || packet[20] != 8 ||
            LoadIpv4(&packet[16]) != VethLab::kGuest) {
            return 0;
        }
        std::swap_ranges(&packet[12], &packet[16], &packet[16]);
        const std::size_t length = LoadBe16(&packet[2]);
        ++m_pings;
        packet[20] = 0;
        StoreBe16(&packet[22], 0);
        StoreBe16(&packet[22], InetChecksum(&packet[20], length - 20));
        return static_cast<std::int32_t>(offset + length);
    }

    VnetxLibrary& m_library;
    GuestHandle& m_guest;
    const bool m_tap;
    const MacAddress m_mac;
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_failure{0};
    std::atomic<int> m_pings{0};
    std::thread m_thread;
};

} // namespace vnxtest
