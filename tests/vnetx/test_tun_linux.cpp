// The `tun` library with the kernel's own device, in a network namespace of its own.
#include <cerrno>
#include <filesystem>
#include <future>

#include "veth_lab.h"

namespace vnxtest {
namespace {

using namespace std::chrono_literals;

class Tun : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        VNXTEST_SKIP_WITHOUT_LAB(m_lab);
        if (!std::filesystem::exists("/dev/net/tun")) {
            GTEST_SKIP() << "skipped: no /dev/net/tun here";
        }
    }
    bool IsTap() const { return GetParam(); }

    VethLab m_lab;
    std::unique_ptr<VnetxLibrary> m_library = MakeTunLibrary();
    GuestHandle m_guest{*m_library};
};

INSTANTIATE_TEST_SUITE_P(Modes, Tun, testing::Bool(),
                         [](const auto& mode) { return mode.param ? "Tap" : "Tun"; });

TEST_P(Tun, TheHostPingsTheGuestAndNothingElseChanges) {
    const std::string before = Output("ip route; ip -4 -br addr");
    ASSERT_TRUE(m_guest.Open(IsTap())) << errno;
    EXPECT_EQ(m_guest.name.rfind("vnxtun", 0), 0u);
    ASSERT_EQ(m_guest.SetValue(VNETX_SIOCSIFMTU, 1400), 0);
    ASSERT_TRUE(m_guest.Up()) << errno;
    EXPECT_NE(Output("ip link show " + m_guest.name).find("mtu 1400 "), std::string::npos);
    {
        EchoGuest echo(*m_library, m_guest, IsTap());
        EXPECT_EQ(Shell("ping -M dont -q -c 20 -i 0.01 -w 5 10.79.0.50"), 0);
        EXPECT_EQ(Shell("ping -M dont -q -f -l 32 -c 3000 -w 20 10.79.0.50"), 0);
        echo.Stop();
        EXPECT_EQ(echo.Failure(), 0);
    }
    const auto statistics = m_guest.Statistics();
    EXPECT_GE(statistics.packetsRead, 3020);
    EXPECT_EQ(statistics.packetsWritten, statistics.packetsRead - statistics.ignored);
    EXPECT_EQ(statistics.readIos, statistics.packetsRead);
    // One host route to the guest; the adapter's own network still goes through the adapter.
    EXPECT_EQ(Output("ip route get 10.79.0.77 | grep -c vt0"), "1\n");
    EXPECT_EQ(Output("ip route | grep -c " + m_guest.name), "1\n");
    m_guest.Close();
    EXPECT_EQ(Output("ip route; ip -4 -br addr"), before);
}

TEST_P(Tun, TheHostIsTheOnlyNeighbour) {
    ASSERT_TRUE(m_guest.Open(IsTap()));
    ASSERT_TRUE(m_guest.Up());
    const MacAddress mac = m_guest.Arp(VethLab::kAdapter);
    if (IsTap()) {
        EXPECT_EQ(mac, VethLab::MacIn(Output("ip link show " + m_guest.name)));
    } else {
        EXPECT_TRUE(mac.IsZero());
        EXPECT_EQ(errno, ENXIO);
    }
}

TEST_P(Tun, WritesAreWholeOrRefused) {
    ASSERT_TRUE(m_guest.Open(IsTap()));
    ASSERT_TRUE(m_guest.Up());
    std::vector<std::uint8_t> frame(IsTap() ? 1515 : 1501, 0x45);
    EXPECT_EQ(m_guest.Write(frame), -1);
    EXPECT_EQ(errno, EMSGSIZE);
    frame.pop_back();
    EXPECT_EQ(m_guest.Write(frame), static_cast<std::int32_t>(frame.size()));
    EXPECT_EQ(m_guest.Write(std::vector<std::uint8_t>(13, 0x45)), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST_P(Tun, TheNotifySocketAndARemovedDevice) {
    ASSERT_TRUE(m_guest.Open(IsTap(), true));
    ASSERT_TRUE(m_guest.Up());
    pollfd wait{m_guest.handle, POLLIN, 0};
    while (poll(&wait, 1, 50) > 0) { // what the kernel sends of its own accord
        while (m_guest.Read() > 0) {
        }
    }
    ASSERT_EQ(Shell("ping -M dont -q -c 1 -W 0.2 10.79.0.50"), 1);
    EXPECT_EQ(poll(&wait, 1, 1000), 1);
    EXPECT_GT(m_guest.Read(), 0);
    while (m_guest.Read() > 0) {
    }
    ASSERT_EQ(Shell("ip link del " + m_guest.name), 0);
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

TEST_P(Tun, ClosingEndsAWaitingRead) {
    ASSERT_TRUE(m_guest.Open(IsTap()));
    ASSERT_TRUE(m_guest.Up());
    ASSERT_EQ(m_guest.SetValue(VNETX_VNXSTIMEOUT, 0), 0);
    auto reader = std::async(std::launch::async, [&] {
        std::uint8_t buffer[2048];
        int result = 0;
        while ((result = m_library->Read(m_guest.handle, buffer, sizeof buffer)) >= 0) {
        }
        return errno;
    });
    std::this_thread::sleep_for(50ms);
    m_library->Close(m_guest.handle);
    EXPECT_EQ(reader.get(), EBADF);
    m_guest.handle = -1;
}

} // namespace
} // namespace vnxtest
