// The `tun` library with the kernel's own device, in a network namespace of its own.
#include <filesystem>

#include "vnetx/veth_lab.h"

namespace vnxtest {
namespace {

class Tun : public VethTest, public testing::WithParamInterface<bool> {
protected:
    Tun() : VethTest(MakeTunLibrary()) {}
    void SetUp() override {
        VethTest::SetUp();
        if (!std::filesystem::exists("/dev/net/tun")) {
            GTEST_SKIP() << "skipped: no /dev/net/tun here";
        }
    }
    bool IsTap() const { return GetParam(); }
};

INSTANTIATE_TEST_SUITE_P(Modes, Tun, testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Tap" : "Tun"; });

TEST_P(Tun, FramesPassBothWaysThroughADeviceWithOneRoute) {
    ASSERT_TRUE(Open(IsTap())) << errno;
    ASSERT_EQ(m_guest.SetValue(VNETX_SIOCSIFMTU, 1400), 0);
    ASSERT_TRUE(m_guest.Up()) << errno;
    EXPECT_EQ(Shell("ip link show " + m_guest.name + " | grep 'mtu 1400 '"), 0);
    // One host route to the guest; the adapter's own network still goes through the adapter.
    EXPECT_EQ(Shell("test `ip route | grep -c vnxtun` = 1 && ip route get 10.79.0.77 | grep vt0"), 0);
    // The host is the only neighbour.
    const MacAddress host = m_guest.Arp(VethLab::kAdapter);
    EXPECT_TRUE(IsTap() || (host.IsZero() && errno == ENXIO));

    // A ping arrives, or the question that comes before it; the other way go whole frames only.
    ASSERT_EQ(Shell("ping -M dont -q -c 1 -s 1000 -W 0.2 10.79.0.50"), 1);
    int seen = 0;
    std::int64_t reads = 0;
    for (std::int32_t got = 0; (got = m_guest.Read()) > 0; ++reads) {
        const auto& frame = m_guest.frame;
        seen += IsTap() ? LoadBe16(&frame[12]) == kEtherTypeArp && LoadMac(&frame[6]) == host
                        : got == 1028 && LoadIpv4(&frame[16]) == VethLab::kGuest;
    }
    EXPECT_GE(seen, 1);
    Bytes frame(IsTap() ? 1415 : 1401, 0x45);
    EXPECT_TRUE(Fails(m_guest.Write(frame), EMSGSIZE));
    frame.pop_back();
    EXPECT_EQ(m_guest.Write(frame), static_cast<std::int32_t>(frame.size()));
    EXPECT_TRUE(Fails(m_guest.Write(Bytes(13, 0x45)), EINVAL));
    const auto statistics = m_guest.Statistics();
    EXPECT_EQ(statistics.packetsRead - statistics.ignored, reads);
    EXPECT_EQ(statistics.readIos, statistics.packetsRead);
    EXPECT_EQ(statistics.packetsWritten, 1);
    m_guest.ExpectCloseEndsARead();
    EXPECT_EQ(Shell("{ ip link; ip route; } | grep vnxtun"), 1) << "nothing is left";
}

TEST_P(Tun, TheNotifySocketAndARemovedDevice) {
    ASSERT_TRUE(Open(IsTap(), true) && m_guest.Up());
    while (Readable(m_guest.handle, 50)) { // what the kernel sends of its own accord
        while (m_guest.Read() > 0) {
        }
    }
    ASSERT_EQ(Shell("ping -M dont -q -c 1 -W 0.2 10.79.0.50"), 1);
    EXPECT_TRUE(Readable(m_guest.handle, 1000));
    EXPECT_GT(m_guest.Read(), 0);
    ASSERT_EQ(Shell("ip link del " + m_guest.name), 0);
    ExpectTheReaderIsTold(ENODEV, true);
}

} // namespace
} // namespace vnxtest
