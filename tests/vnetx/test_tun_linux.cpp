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

TEST_P(Tun, OneRouteComesAndGoesAndARemovedDeviceEndsTheReads) {
    const std::string before = Output("ip route; ip -4 -br addr");
    m_options.up = false;
    LibraryGuest guest(*m_library, m_options);
    ASSERT_EQ(guest.Set(VNETX_SIOCSIFMTU, 1400), 0);
    ASSERT_EQ(guest.SetFlags(VNETX_IFF_UP), 0);
    EXPECT_THAT(Output("ip link show " + guest.Name()), HasSubstr("mtu 1400 "));
    EXPECT_EQ(guest.AskMac(kAdapter).IsZero(), !m_tap) << "the host is a TAP's only neighbour";
    Bytes frame(m_tap ? 1415 : 1401, 0x45);
    EXPECT_EQ(ErrorOf(guest.Write(frame)), EMSGSIZE);
    frame.pop_back();
    EXPECT_EQ(guest.Write(frame), static_cast<std::int32_t>(frame.size()));
    // The adapter's own network still goes through the adapter.
    EXPECT_EQ(Output("ip route get 10.79.0.77 | grep -c vt0"), "1\n");
    EXPECT_EQ(Output("ip route | grep -c " + guest.Name()), "1\n");
    guest.Close();
    EXPECT_EQ(Output("ip route; ip -4 -br addr"), before);

    m_options.up = m_options.socketNotify = true;
    LibraryGuest watched(*m_library, m_options);
    ASSERT_TRUE(Shell("ip link del " + watched.Name()));
    EXPECT_TRUE(Readable(watched, 3000)) << "the waiter is woken";
    EXPECT_EQ(EndOfReads(watched), ENODEV);
}

} // namespace
} // namespace vnxtest
