// The `tun` library with the kernel's own device, in a network namespace of its own.
#include <filesystem>

#include "vnetx/veth_lab.h"

namespace vnxtest {
namespace {

class Tun : public LabModesTest {
protected:
    void SetUp() override {
        LabTest::SetUp();
        if (!std::filesystem::exists("/dev/net/tun")) {
            GTEST_SKIP() << "skipped: no /dev/net/tun here";
        }
    }

    const bool m_tap = GetParam();
    const std::unique_ptr<VnetxLibrary> m_library = MakeTunLibrary();
    GuestOptions m_options = OnTheWire(m_tap);
};
INSTANTIATE_TEST_SUITE_P(Modes, Tun, testing::Bool(), ModeName);

TEST_P(Tun, TheGuestPingsItsHostAndNothingElseChanges) {
    const std::string before = Output("ip route; ip -4 -br addr");
    m_options.up = false;
    LibraryGuest guest(*m_library, m_options);
    EXPECT_EQ(guest.Name().rfind("vnxtun", 0), 0u);
    ASSERT_EQ(guest.Set(VNETX_SIOCSIFMTU, 1400), 0);
    ASSERT_EQ(guest.SetFlags(VNETX_IFF_UP), 0);
    EXPECT_THAT(Output("ip link show " + guest.Name()), HasSubstr("mtu 1400 "));
    EXPECT_EQ(guest.AskMac(kAdapter).IsZero(), !m_tap)
        << "the host is a TAP's only neighbour; a TUN has none";
    guest.Ping(kAdapter, 1);
    EXPECT_EQ(guest.ReadReplies().answered, 1);
    const int arps = m_tap ? 1 : 0; // the host's question, answered
    const auto statistics = guest.Statistics();
    EXPECT_GE(statistics.packetsRead, 1 + arps + statistics.ignored);
    EXPECT_EQ(statistics.readIos, statistics.packetsRead);
    EXPECT_EQ(statistics.packetsWritten, 1 + arps);
    EXPECT_EQ(statistics.writeIos, 1 + arps);

    Bytes frame(m_tap ? 1415 : 1401, 0x45);
    EXPECT_EQ(ErrorOf(guest.Write(frame)), EMSGSIZE);
    frame.pop_back();
    EXPECT_EQ(guest.Write(frame), static_cast<std::int32_t>(frame.size()));
    EXPECT_EQ(ErrorOf(guest.Write(Bytes(13, 0x45))), EINVAL);

    // One host route to the guest; the adapter's own network still goes through the adapter.
    EXPECT_EQ(Output("ip route get 10.79.0.77 | grep -c vt0"), "1\n");
    EXPECT_EQ(Output("ip route | grep -c " + guest.Name()), "1\n");
    guest.Close();
    EXPECT_EQ(Output("ip route; ip -4 -br addr"), before);
}

TEST_P(Tun, TheNotifySocketAndARemovedDevice) {
    m_options.socketNotify = true;
    LibraryGuest guest(*m_library, m_options);
    const auto readAll = [&] {
        while (!guest.Read().empty()) {
        }
    };
    while (Readable(guest, 50)) { // what the kernel sends of its own accord
        readAll();
    }
    ASSERT_FALSE(Shell("ping -M dont -q -c 1 -W 0.2 10.79.0.50")) << "nobody answers";
    EXPECT_TRUE(Readable(guest, 1000));
    EXPECT_FALSE(guest.Read().empty());
    readAll();
    ASSERT_TRUE(Shell("ip link del " + guest.Name()));
    EXPECT_TRUE(Readable(guest, 3000)) << "the waiter is woken too";
    EXPECT_EQ(EndOfReads(guest), ENODEV);
}

} // namespace
} // namespace vnxtest
