// The `pcap` library in TAP mode over a real veth pair.
#include <cerrno>
#include <cstdio>
#include <future>

#include <pcap.h>

#include "veth_lab.h"
#include "vnetx/guest_mac.h"
#include "vnetx/pcap_api.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// The capture library's binary interface as it is declared here is the system's.
static_assert(sizeof(PcapPacketHeader) == sizeof(pcap_pkthdr));
static_assert(offsetof(PcapPacketHeader, captured) == offsetof(pcap_pkthdr, caplen));
static_assert(offsetof(PcapPacketHeader, length) == offsetof(pcap_pkthdr, len));
static_assert(sizeof(PcapProgram) == sizeof(bpf_program));
static_assert(offsetof(PcapProgram, instructions) == offsetof(bpf_program, bf_insns));
static_assert(kPcapLinkTypeEthernet == DLT_EN10MB && kPcapDirectionIn == PCAP_D_IN);
static_assert(kPcapErrorNoSuchDevice == PCAP_ERROR_NO_SUCH_DEVICE &&
              kPcapErrorPermissionDenied == PCAP_ERROR_PERM_DENIED &&
              kPcapErrorInterfaceNotUp == PCAP_ERROR_IFACE_NOT_UP &&
              kPcapErrorPromiscuousDenied == PCAP_ERROR_PROMISC_PERM_DENIED);
static_assert(kPcapErrorBufferSize == PCAP_ERRBUF_SIZE && kPcapNetMaskUnknown == PCAP_NETMASK_UNKNOWN);

constexpr MacAddress kStranger({2, 0, 0, 0, 0, 0x77});

std::vector<std::uint8_t> Frame(MacAddress destination, MacAddress source, std::uint16_t type,
                                std::size_t length) {
    std::vector<std::uint8_t> frame(length, 0x55);
    BuildEthernetHeader(frame.data(), {destination, source, type});
    return frame;
}

class Pcap : public testing::Test {
protected:
    void SetUp() override { VNXTEST_SKIP_WITHOUT_LAB(m_lab); }
    void OpenUp(bool notify = false) {
        ASSERT_TRUE(m_guest.Open(true, notify)) << errno;
        ASSERT_TRUE(m_guest.Up()) << errno;
        m_mac = m_guest.Mac();
        m_wire = m_lab.RawPeer();
        ASSERT_GE(m_wire, 0);
    }
    void TearDown() override {
        if (m_wire >= 0) {
            close(m_wire);
        }
    }
    void Put(const std::vector<std::uint8_t>& frame) {
        ASSERT_EQ(send(m_wire, frame.data(), frame.size(), 0), static_cast<ssize_t>(frame.size())) << errno;
    }
    // The next frame that the other end sees with this type, or none within a while.
    std::vector<std::uint8_t> Seen(std::uint16_t type) {
        std::vector<std::uint8_t> frame(65535);
        for (const auto end = Clock::now() + 1s; Clock::now() < end;) {
            pollfd wait{m_wire, POLLIN, 0};
            if (poll(&wait, 1, 100) > 0) {
                const ssize_t got = recv(m_wire, frame.data(), frame.size(), 0);
                if (got >= 14 && LoadBe16(frame.data() + 12) == type) {
                    frame.resize(static_cast<std::size_t>(got));
                    return frame;
                }
            }
        }
        return {};
    }

    VethLab m_lab;
    std::unique_ptr<VnetxLibrary> m_library = MakePcapLibrary();
    GuestHandle m_guest{*m_library};
    MacAddress m_mac;
    int m_wire = -1;
};

TEST_F(Pcap, TheKernelPingsTheGuestAndEveryFrameIsCounted) {
    OpenUp();
    EXPECT_EQ(m_mac, BuildGuestMac(VethLab::kGuest));
    EchoGuest echo(*m_library, m_guest, true);
    EXPECT_EQ(m_lab.Peer("ping -M dont -q -c 20 -i 0.01 -w 5 10.79.0.50"), 0);
    // At the default buffer sizes nothing is lost with many outstanding: every request that the other
    // end says it has sent is answered. (It stops counting answers once it has enough of them.)
    const std::string flood = m_lab.PeerOutput("ping -M dont -q -f -l 64 -c 5000 -w 20 10.79.0.50");
    int sent = 0;
    const std::size_t at = flood.find("packets transmitted");
    ASSERT_NE(at, std::string::npos) << flood;
    ASSERT_EQ(sscanf(flood.c_str() + flood.rfind('\n', at) + 1, "%d", &sent), 1);
    for (const auto end = Clock::now() + 2s; echo.Pings() < 20 + sent && Clock::now() < end;) {
        std::this_thread::sleep_for(1ms);
    }
    EXPECT_EQ(echo.Pings(), 20 + sent) << flood;
    echo.Stop();
    EXPECT_EQ(echo.Failure(), 0);
    const auto statistics = m_guest.Statistics();
    EXPECT_GE(statistics.packetsRead, 5021);
    EXPECT_EQ(statistics.packetsWritten, statistics.packetsRead - statistics.ignored);
    EXPECT_EQ(statistics.writeCalls, statistics.packetsWritten);
    EXPECT_EQ(statistics.writeIos, statistics.packetsWritten);
    EXPECT_GE(statistics.readCalls, statistics.packetsRead);
    EXPECT_LE(statistics.readIos, statistics.packetsRead);
    EXPECT_GE(statistics.maximumBytesReceived, 98u);
    EXPECT_EQ(statistics.kernelBufferSize, 1048576u);
    EXPECT_EQ(statistics.ioBufferSize, 65536u);
    EXPECT_EQ(statistics.fromOurself + statistics.internalArps, 0);
}

TEST_F(Pcap, FramesAreDeliveredCountedOrLeftOutByTheirAddresses) {
    OpenUp();
    Put(Frame(m_mac, kStranger, 0x86DD, 60));
    EXPECT_EQ(m_guest.Read(), 60);
    Put(Frame(MacAddress({0x01, 0, 0x5E, 0, 0, 1}), kStranger, 0x0800, 1514));
    EXPECT_EQ(m_guest.Read(), 1514);
    Put(Frame(m_mac, MacAddress(), 0x0800, 61));
    EXPECT_EQ(m_guest.Read(), 61);
    Put(Frame(kStranger, m_lab.PeerMac(), 0x0800, 62)); // not for us: the kernel leaves it out
    Put(Frame(MacAddress(), kStranger, 0x0800, 63));
    Put(Frame(MacAddress::Broadcast(), m_mac, 0x0800, 64)); // a reflection of our own
    EXPECT_EQ(m_guest.Read(), 0);
    // Longer than a frame could be when the handle was opened: counted, never delivered cut.
    ASSERT_EQ(Shell("ip link set vt0 mtu 9000"), 0);
    ASSERT_EQ(m_lab.Peer("ip link set vt1 mtu 9000"), 0);
    Put(Frame(m_mac, kStranger, 0x0800, 4000));
    EXPECT_EQ(m_guest.Read(), 0);
    const auto statistics = m_guest.Statistics();
    EXPECT_EQ(statistics.packetsRead, 6);
    EXPECT_EQ(statistics.bytesRead, 60 + 1514 + 61 + 63 + 64 + 4000);
    EXPECT_EQ(statistics.fromZeroMacRead, 1);
    EXPECT_EQ(statistics.toZeroMacRead, 1);
    EXPECT_EQ(statistics.fromOurself, 1);
    EXPECT_EQ(statistics.ignored, 2);
    EXPECT_EQ(statistics.readCalls, 5);
    // A buffer that is too small gets an error, not a piece.
    Put(Frame(m_mac, kStranger, 0x0800, 100));
    std::uint8_t small[50];
    EXPECT_EQ(m_library->Read(m_guest.handle, small, sizeof small), -1);
    EXPECT_EQ(errno, EMSGSIZE);
}

TEST_F(Pcap, WritesGoOutWholeOrNotAtAll) {
    ASSERT_TRUE(m_guest.Open(true));
    const auto whole = Frame(m_lab.PeerMac(), kStranger, 0x1234, 1514);
    EXPECT_EQ(m_guest.Write(whole), -1);
    EXPECT_EQ(errno, ENETDOWN);
    m_guest.Close();
    OpenUp();
    EXPECT_EQ(m_guest.Write(whole), 1514);
    EXPECT_EQ(Seen(0x1234), whole);
    EXPECT_EQ(m_guest.Write(Frame(m_lab.PeerMac(), kStranger, 0x1234, 1515)), -1);
    EXPECT_EQ(errno, EMSGSIZE);
    EXPECT_EQ(m_guest.Write(std::vector<std::uint8_t>(13)), -1);
    EXPECT_EQ(errno, EINVAL);
    EXPECT_EQ(m_guest.Write(Frame(MacAddress(), MacAddress(), 0x1235, 60)), 60);
    const auto statistics = m_guest.Statistics();
    EXPECT_EQ(statistics.writeCalls, 4);
    EXPECT_EQ(statistics.writeIos, 2);
    EXPECT_EQ(statistics.packetsWritten, 2);
    EXPECT_EQ(statistics.bytesWritten, 1514 + 60);
    EXPECT_EQ(statistics.toZeroMacWritten, 1);
    EXPECT_EQ(statistics.fromZeroMacWritten, 1);
}

TEST_F(Pcap, TheDeviceBufferHoldsWhatItsSizeSays) {
    for (const std::uint32_t size : {64u * 1024, 1024u * 1024}) {
        ASSERT_TRUE(m_guest.Open(true));
        ASSERT_EQ(m_guest.SetValue(VNETX_VNXSDEVBUFF, size), 0);
        ASSERT_TRUE(m_guest.Up());
        EXPECT_EQ(m_guest.SetValue(VNETX_VNXSDEVBUFF, size), -1);
        EXPECT_EQ(errno, EBUSY);
        m_wire = m_lab.RawPeer();
        for (int i = 0; i < 500; ++i) {
            Put(Frame(m_guest.Mac(), kStranger, 0x4321, 60));
        }
        int got = 0;
        while (m_guest.Read() == 60) {
            ++got;
        }
        if (size == 64 * 1024) {
            EXPECT_LT(got, 100);
            EXPECT_GT(got, 20);
        } else {
            EXPECT_EQ(got, 500);
        }
        close(m_wire);
        m_wire = -1;
        m_guest.Close();
    }
}

TEST_F(Pcap, WrongRequestsAreRefusedAndRightOnesHold) {
    const auto fails = [&](int result, int code) { return result == -1 && errno == code; };
    EXPECT_TRUE(fails(m_library->Open("10.79.0.9", 2), ENODEV));
    EXPECT_TRUE(fails(m_library->Open("02-00-00-00-00-99", 2), ENODEV));
    EXPECT_TRUE(fails(m_library->Open("no address", 2), ENODEV));
    EXPECT_TRUE(fails(m_library->Open(nullptr, 2), EINVAL));
    EXPECT_TRUE(fails(m_library->Open("10.79.0.1", 0), EINVAL));
    VnetxInterfaceRequest request{};
    EXPECT_TRUE(fails(m_library->Ioctl(-1, VNETX_TUNSETIFF, &request), EBADF));
    EXPECT_TRUE(fails(m_library->Ioctl(12345, VNETX_TUNSETIFF, &request), EBADF));
    EXPECT_TRUE(fails(m_library->Read(12345, &request, 32), EBADF));

    // By the adapter's MAC as well; nothing is set without a mode.
    m_guest.handle = m_library->Open(ToNarrow(FormatMACAddr(m_lab.AdapterMac())).c_str(), 2);
    ASSERT_GE(m_guest.handle, 0);
    EXPECT_TRUE(fails(m_guest.SetFlags(VNETX_IFF_UP), ENODEV));
    for (const int flags : {0x0000, 0x0001, 0x0002, 0x1000, 0x1003, 0x5002}) {
        request.u.flags = static_cast<std::uint16_t>(flags);
        EXPECT_TRUE(fails(m_library->Ioctl(m_guest.handle, VNETX_TUNSETIFF, &request), EINVAL)) << flags;
    }
    request.u.flags = VNETX_IFF_TAP | VNETX_IFF_NO_PI;
    ASSERT_EQ(m_library->Ioctl(m_guest.handle, VNETX_TUNSETIFF_OLD, &request), 0);
    m_guest.name = request.name;
    EXPECT_FALSE(m_guest.name.empty());
    EXPECT_TRUE(fails(m_library->Ioctl(m_guest.handle, VNETX_TUNSETIFF, &request), EINVAL));
    EXPECT_TRUE(fails(m_guest.SetFlags(VNETX_IFF_UP), EADDRNOTAVAIL)) << "no guest address and no MAC";
    EXPECT_TRUE(m_guest.Mac().IsZero());
    auto get = m_guest.Request();
    ASSERT_EQ(m_library->Ioctl(m_guest.handle, VNETX_SIOCGIFADDR, &get), 0);
    EXPECT_EQ(LoadIpv4(get.u.inet.address), VethLab::kAdapter) << "the adapter's, as none was set";
    EXPECT_TRUE(fails(m_guest.SetValue(VNETX_SIOCSIFADDR, 10), EAFNOSUPPORT));
    EXPECT_TRUE(fails(m_guest.SetAddress(VNETX_SIOCSIFNETMASK, Ipv4Address(255, 0, 255, 0)), EINVAL));
    EXPECT_TRUE(fails(m_guest.SetValue(VNETX_SIOCSIFMTU, 45), EINVAL));
    EXPECT_TRUE(fails(m_guest.SetValue(VNETX_SIOCSIFMTU, 1501), EINVAL)) << "more than the adapter carries";
    EXPECT_TRUE(fails(m_guest.SetValue(VNETX_VNXSDEVBUFF, 0), EINVAL));
    EXPECT_TRUE(fails(m_guest.SetValue(VNETX_VNXSTIMEOUT, 0x80000000), EINVAL));
    EXPECT_TRUE(fails(m_guest.SetValue(0x8999, 1), EINVAL));
    EXPECT_TRUE(fails(m_library->Ioctl(m_guest.handle, VNETX_SIOCSIFMTU, nullptr), EINVAL));
    EXPECT_TRUE(fails(m_guest.SetFlags(0x10), EINVAL));
    auto foreign = m_guest.Request();
    foreign.name[0] = 'x';
    EXPECT_TRUE(fails(m_library->Ioctl(m_guest.handle, VNETX_SIOCGIFHWADDR, &foreign), ENODEV));
    auto mac = m_guest.Request();
    mac.u.hardware.family = VNETX_ARPHRD_ETHER;
    mac.u.hardware.mac[0] = 0x01;
    EXPECT_TRUE(fails(m_library->Ioctl(m_guest.handle, VNETX_SIOCSIFHWADDR, &mac), EADDRNOTAVAIL));
    StoreMac(mac.u.hardware.mac, kStranger);
    EXPECT_EQ(m_library->Ioctl(m_guest.handle, VNETX_SIOCSIFHWADDR, &mac), 0);
    EXPECT_EQ(m_guest.Mac(), kStranger);
    EXPECT_EQ(m_guest.SetValue(VNETX_SIOCSIFMTU, 1000), 0);
    EXPECT_EQ(m_guest.SetFlags(VNETX_IFF_UP), 0);
    EXPECT_EQ(m_guest.Write(Frame(m_lab.PeerMac(), kStranger, 0x1234, 1015)), -1);
    EXPECT_EQ(errno, EMSGSIZE);
    VnetxStatistics record{};
    EXPECT_TRUE(fails(m_library->GetStats(m_guest.handle, &record), EINVAL)) << "its length was not set";
}

TEST_F(Pcap, AReadEndsWithItsTimeAndWithTheHandle) {
    OpenUp();
    auto start = Clock::now();
    EXPECT_EQ(m_guest.Read(), 0);
    EXPECT_GE(Clock::now() - start, 245ms);
    EXPECT_LT(Clock::now() - start, 600ms);
    ASSERT_EQ(m_guest.SetValue(VNETX_VNXSTIMEOUT, 0), 0);
    auto reader = std::async(std::launch::async, [&] {
        std::uint8_t buffer[2048];
        const int result = m_library->Read(m_guest.handle, buffer, sizeof buffer);
        return std::pair(result, errno);
    });
    EXPECT_EQ(reader.wait_for(400ms), std::future_status::timeout) << "no time-out: it waits";
    start = Clock::now();
    m_library->Close(m_guest.handle);
    EXPECT_EQ(reader.get(), std::pair(-1, EBADF));
    EXPECT_LT(Clock::now() - start, 500ms);
    m_guest.handle = -1;
}

TEST_F(Pcap, TheNotifySocketTellsOfFramesAndOfShutdown) {
    OpenUp(true);
    const auto readable = [&](int milliseconds) {
        pollfd wait{m_guest.handle, POLLIN, 0};
        return poll(&wait, 1, milliseconds) > 0;
    };
    EXPECT_FALSE(readable(50));
    EXPECT_EQ(m_guest.Read(), 0) << "never waits";
    for (int round = 0; round < 50; ++round) {
        Put(Frame(m_mac, kStranger, 0x4321, 60));
        Put(Frame(m_mac, kStranger, 0x4321, 61));
        ASSERT_TRUE(readable(1000)) << round;
        int got = 0;
        // The second may arrive after the first was read and the socket asked again.
        for (const auto end = Clock::now() + 1s; got < 2 && Clock::now() < end;) {
            const int result = m_guest.Read();
            ASSERT_GE(result, 0);
            got += result > 0 ? 1 : 0;
            if (result == 0) {
                ASSERT_TRUE(readable(1000)) << round;
            }
        }
        ASSERT_EQ(got, 2);
        ASSERT_EQ(m_guest.Read(), 0);
    }
    auto waiter = std::async(std::launch::async, [&] { return readable(5000); });
    std::this_thread::sleep_for(20ms);
    shutdown(m_guest.handle, SHUT_RDWR);
    EXPECT_TRUE(waiter.get());
    EXPECT_EQ(m_guest.Read(), 0) << "an end, no error";
    EXPECT_EQ(m_guest.Statistics().packetsRead, 100);
}

TEST_F(Pcap, NeighboursAreFoundByAnExchange) {
    EXPECT_EQ(GuestHandle::Arp(*m_library, -1, VethLab::kAdapter), m_lab.AdapterMac());
    EXPECT_TRUE(GuestHandle::Arp(*m_library, -1, VethLab::kPeer).IsZero()) << "not the host's own";
    EXPECT_EQ(errno, ENXIO);
    VnetxArpRequest reverse{};
    StoreMac(reverse.hardwareAddress, m_lab.AdapterMac());
    ASSERT_EQ(m_library->Ioctl(-1, VNETX_SIOCGRARP, &reverse), 0);
    EXPECT_EQ(LoadIpv4(reverse.protocolAddress), VethLab::kAdapter);

    OpenUp();
    EXPECT_EQ(m_guest.Arp(VethLab::kPeer), m_lab.PeerMac()) << "on the thread that reads";
    reverse = {};
    StoreMac(reverse.hardwareAddress, m_lab.PeerMac());
    ASSERT_EQ(m_library->Ioctl(m_guest.handle, VNETX_SIOCGRARP, &reverse), 0);
    EXPECT_EQ(LoadIpv4(reverse.protocolAddress), VethLab::kPeer);
    ASSERT_EQ(m_lab.Peer("ip addr add 10.79.0.3/24 dev vt1"), 0);
    {
        EchoGuest reading(*m_library, m_guest, true);
        EXPECT_EQ(m_guest.Arp(Ipv4Address(10, 79, 0, 3)), m_lab.PeerMac()) << "beside a thread that reads";
        const auto start = Clock::now();
        EXPECT_TRUE(m_guest.Arp(Ipv4Address(10, 79, 0, 200)).IsZero());
        EXPECT_GE(Clock::now() - start, 140ms);
        EXPECT_LT(Clock::now() - start, 400ms);
        const auto again = Clock::now();
        EXPECT_TRUE(m_guest.Arp(Ipv4Address(10, 79, 0, 200)).IsZero());
        EXPECT_LT(Clock::now() - again, 50ms) << "silence is remembered";
    }
    // The answers to the library's questions are its own: none of them is delivered.
    EXPECT_GE(m_guest.Statistics().internalArps, 1);
}

TEST_F(Pcap, AnAdapterThatGoesDownOrAwayEndsTheRead) {
    OpenUp();
    ASSERT_EQ(Shell("ip link set vt0 down"), 0);
    const auto start = Clock::now();
    std::int32_t result = 0;
    while ((result = m_guest.Read()) == 0 && Clock::now() - start < 3s) {
    }
    EXPECT_EQ(result, -1);
    EXPECT_EQ(errno, ENETDOWN);
    EXPECT_EQ(m_guest.Write(Frame(m_lab.PeerMac(), m_mac, 0x0800, 60)), -1);
    EXPECT_EQ(errno, ENETDOWN);
    m_guest.Close();
    EXPECT_FALSE(m_guest.Open(true));
    EXPECT_EQ(errno, ENETDOWN);
    ASSERT_EQ(Shell("ip link set vt0 up"), 0);
    m_guest.Close();
    ASSERT_TRUE(m_guest.Open(true, true)) << errno;
    ASSERT_TRUE(m_guest.Up());
    ASSERT_EQ(Shell("ip link del vt0"), 0);
    pollfd wait{m_guest.handle, POLLIN, 0};
    // The waiter is woken too; a read may still be the last of a quiet moment.
    std::int32_t last = 0;
    for (const auto end = std::chrono::steady_clock::now() + 3s;
         last == 0 && std::chrono::steady_clock::now() < end;) {
        ASSERT_EQ(poll(&wait, 1, 3000), 1);
        last = m_guest.Read();
    }
    EXPECT_EQ(last, -1);
    EXPECT_EQ(errno, ENODEV);
}

std::string g_debugText;
std::mutex g_debugMutex;
void CollectDebug(const char* text, ...) {
    const std::lock_guard lock(g_debugMutex);
    g_debugText += text;
}

TEST_F(Pcap, DebugLinesFollowTheFlags) {
    EXPECT_NE(m_library->SetDebugOutputFunc(&CollectDebug), 0);
    g_debugText.clear();
    OpenUp();
    EXPECT_EQ(g_debugText, "") << "nothing without the debug flag of the interface";
    ASSERT_EQ(m_guest.SetValue(VNETX_TUNSETDEBUG, VNETX_DEBUG_OLD_NEW_VALUES | VNETX_DEBUG_OTHER_READ), 0);
    ASSERT_EQ(m_guest.SetFlags(VNETX_IFF_UP | VNETX_IFF_DEBUG), 0);
    ASSERT_EQ(m_guest.SetValue(VNETX_VNXSTIMEOUT, 300), 0);
    EXPECT_NE(g_debugText.find("VNXSTIMEOUT: old 250, new 300"), std::string::npos) << g_debugText;
    g_debugText.clear();
    Put(Frame(m_mac, kStranger, 0x4321, 60));
    EXPECT_EQ(m_guest.Read(), 60);
    EXPECT_NE(g_debugText.find("60 bytes read"), std::string::npos) << g_debugText;
    EXPECT_EQ(g_debugText.find("55 55"), std::string::npos) << "contents were not asked for";
    m_guest.Write(Frame(m_lab.PeerMac(), m_mac, 0x4321, 60));
    EXPECT_EQ(g_debugText.find("written"), std::string::npos);
    ASSERT_EQ(m_guest.SetValue(VNETX_TUNSETDEBUG, VNETX_DEBUG_PACKET_CONTENTS | VNETX_DEBUG_ARP_WRITTEN), 0);
    g_debugText.clear();
    m_guest.Write(Frame(m_lab.PeerMac(), m_mac, kEtherTypeArp, 60));
    EXPECT_NE(g_debugText.find("60 bytes written"), std::string::npos) << g_debugText;
    EXPECT_NE(g_debugText.find("55 55"), std::string::npos);
    m_library->SetDebugOutputFunc(nullptr);
}

} // namespace
} // namespace vnxtest
