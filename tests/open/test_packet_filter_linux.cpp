// The frames that a guest's packet socket may receive, by the kernel's own filter machine on a socket that
// needs no right, with datagrams in place of frames. Adapter and direction: tests/e2e.
#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>
#include <sys/socket.h>

#include "open/packet_socket.h"
#include "wrenlib/descriptor_linux.h"

namespace vnxtest {
namespace {

constexpr MacAddress kGuest({0x02, 0x00, 0x5E, 0x80, 0x00, 0x6F});
constexpr std::uint32_t kAdapter = 7;
using Frame = std::vector<std::uint8_t>;

Frame To(MacAddress destination, std::uint16_t type = 0x0800, std::uint16_t operation = 0) {
    Frame frame(42);
    std::copy(destination.Bytes().begin(), destination.Bytes().end(), frame.begin());
    frame[12] = static_cast<std::uint8_t>(type >> 8);
    frame[13] = static_cast<std::uint8_t>(type);
    frame[21] = static_cast<std::uint8_t>(operation);
    return frame;
}

class FilteredSocket {
public:
    explicit FilteredSocket(PacketFilter filter) {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
        m_sender = Descriptor(ends[0]);
        m_receiver = Descriptor(ends[1]);
        // A datagram has no adapter: it is taken for one of the guest's.
        const auto asksForAdapter = [](const sock_filter& one) {
            return one.k == static_cast<std::uint32_t>(SKF_AD_OFF + SKF_AD_IFINDEX);
        };
        EXPECT_EQ(std::count_if(filter.begin(), filter.end(), asksForAdapter), 1);
        std::replace_if(filter.begin(), filter.end(), asksForAdapter,
                        sock_filter{BPF_LD | BPF_IMM, 0, 0, kAdapter});
        EXPECT_TRUE(AttachFilter(ends[1], filter)) << std::strerror(errno);
    }

    bool Passes(const Frame& frame) const {
        send(m_sender.Get(), frame.data(), frame.size(), 0);
        Frame received(100);
        return recv(m_receiver.Get(), received.data(), received.size(), 0) ==
               static_cast<ssize_t>(frame.size());
    }

private:
    Descriptor m_sender, m_receiver;
};

TEST(PacketFilter, LetsTheGuestsFramesThroughAndNoOthers) {
    const FilteredSocket socket(MakePacketFilter(OpenKind::GuestSocket, kAdapter, kGuest));
    EXPECT_TRUE(socket.Passes(To(kGuest)));
    EXPECT_TRUE(socket.Passes(To(MacAddress::Broadcast())));
    EXPECT_TRUE(socket.Passes(To(MacAddress({0x01, 0x00, 0x5E, 0, 0, 1}))));
    EXPECT_TRUE(socket.Passes(To(MacAddress())));
    for (std::size_t at = 0; at < 6; ++at) {
        auto bytes = kGuest.Bytes();
        bytes[at] ^= at == 0 ? 0x40 : 0x01;
        EXPECT_FALSE(socket.Passes(To(MacAddress(bytes)))) << at;
        bytes = {};
        bytes[at] = 0x40;
        EXPECT_FALSE(socket.Passes(To(MacAddress(bytes)))) << at;
    }
    EXPECT_FALSE(socket.Passes(Frame(5))) << "shorter than an address";
}

TEST(PacketFilter, AGuestWhoseAddressBeginsWithZeroes) {
    const FilteredSocket socket(
        MakePacketFilter(OpenKind::GuestSocket, kAdapter, MacAddress({0, 0, 0, 0, 0x12, 0x34})));
    EXPECT_TRUE(socket.Passes(To(MacAddress({0, 0, 0, 0, 0x12, 0x34}))));
    EXPECT_TRUE(socket.Passes(To(MacAddress())));
    EXPECT_FALSE(socket.Passes(To(MacAddress({0, 0, 0, 0, 0x12, 0x35}))));
}

TEST(PacketFilter, AsksForAnswersOnly) {
    const FilteredSocket arp(MakePacketFilter(OpenKind::ArpSocket, kAdapter, {}));
    EXPECT_TRUE(arp.Passes(To(kGuest, 0x0806, 2)));
    EXPECT_FALSE(arp.Passes(To(kGuest, 0x0806, 1)));
    EXPECT_FALSE(arp.Passes(To(kGuest, 0x8035, 4)));
    EXPECT_FALSE(arp.Passes(To(kGuest)));
    const FilteredSocket rarp(MakePacketFilter(OpenKind::ReverseArpSocket, kAdapter, {}));
    EXPECT_TRUE(rarp.Passes(To(kGuest, 0x8035, 4)));
    EXPECT_FALSE(rarp.Passes(To(kGuest, 0x8035, 3)));
    EXPECT_FALSE(rarp.Passes(To(kGuest, 0x0806, 2)));
}

} // namespace
} // namespace vnxtest
