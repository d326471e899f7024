#include <cerrno>

#include "ping/packet_writer.h"
#include "support/output_fixture.h"
#include "support/packets.h"
#include "support/quiet_host.h"

namespace vnxtest {
namespace {

class PacketWriterTest : public InterfaceFixture {
protected:
    PacketWriterTest() { m_info.tapMode = true; }

    // The destination MAC of a frame to `target`.
    Frame DestinationFor(Ipv4Address target) {
        Frame frame(14 + 32);
        std::ranges::copy(target.Bytes(), frame.begin() + 30);
        EXPECT_TRUE(WritePingIPPacket(m_info, m_host.network, frame));
        const Frame written = m_library.Written().back();
        return Frame(written.begin(), written.begin() + 6);
    }

    QuietHost m_host{m_library};
};

TEST_F(PacketWriterTest, ChoosesNeighbourThenGatewayThenAdapter) {
    const Ipv4Address neighbour(10, 1, 2, 77);
    const Ipv4Address remote(192, 0, 2, 1);
    EXPECT_EQ(DestinationFor(remote), Hex("020101010103"));
    EXPECT_EQ(DestinationFor(neighbour), Hex("020101010103")); // not resolved, no gateway
    m_host.network.SetDefaultGateway(Ipv4Address(10, 1, 2, 254), MacAddress({2, 2, 2, 2, 2, 2}));
    EXPECT_EQ(DestinationFor(remote), Hex("020202020202"));
    EXPECT_EQ(DestinationFor(neighbour), Hex("020202020202"));
    m_library.neighbourMac = {2, 9, 9, 9, 9, 9};
    EXPECT_EQ(DestinationFor(neighbour), Hex("020909090909"));
    EXPECT_EQ(DestinationFor(remote), Hex("020202020202"));
    EXPECT_EQ(TakeText(), "");
    m_host.network.SetDefaultGateway(Ipv4Address(), MacAddress());
    m_info.adapterMac = MacAddress();
    EXPECT_EQ(DestinationFor(remote), Frame(6));
    EXPECT_NE(TakeText().find("** Assertion Failed **"), std::string::npos);
}

TEST_F(PacketWriterTest, ReportsAFailureToTheLetter) {
    m_library.failWrite = ENOENT; // whose text is everywhere the same
    Frame frame(14 + 32);
    EXPECT_FALSE(WritePingIPPacket(m_info, m_host.network, frame));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(TakeText(), "** CVNXTestView(vnx0)::WritePingIPPacket: vnetx32_write failed;\n"
                          "                      dwPacketSize=46, rc=-1, GetLastError=2 (0x00000002), "
                          "errno=2: No such file or directory\n");
    m_info.handle = -1;
    m_library.failWrite = 0;
    EXPECT_FALSE(WritePingIPPacket(m_info, m_host.network, frame));
    EXPECT_NE(TakeText().find("errno=9: Bad file descriptor\n"), std::string::npos);
}

} // namespace
} // namespace vnxtest
