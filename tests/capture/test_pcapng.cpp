// The blocks of a capture against bytes that were written down by hand from the format's description.
#include <gtest/gtest.h>

#include <array>

#include "capture/pcapng.h"
#include "capture/verdict_text.h"
#include "support/hex.h"

namespace vnxtest {
namespace {

using pcapng::Bytes;

TEST(Pcapng, SectionAndInterface) {
    Bytes bytes;
    pcapng::AppendSection(bytes, "OS", "App 1");
    EXPECT_EQ(bytes, Hex("0a0d0d0a 34000000 4d3c2b1a 0100 0000 ffffffffffffffff"
                         "0300 0200 4f530000 0400 0500 4170702031000000 0000 0000 34000000"));
    bytes.clear();
    pcapng::AppendInterface(bytes, {.link = pcapng::LinkType::RawIp,
                                    .name = "tun0",
                                    .description = "d",
                                    .mac = MacAddress({2, 0, 0x5E, 0x80, 0, 4}),
                                    .speed = 10'000'000'000});
    EXPECT_EQ(bytes, Hex("01000000 48000000 6500 0000 00000000"
                         "0200 0400 74756e30 0300 0100 64000000 0600 0600 02005e8000040000"
                         "0800 0800 00e40b5402000000 0900 0100 09000000 0000 0000 48000000"));
}

TEST(Pcapng, PacketWithAllOptionsAndStatistics) {
    const std::array<std::uint8_t, 5> frame{1, 2, 3, 4, 5};
    Bytes bytes;
    pcapng::AppendPacket(bytes, {.interface = 1,
                                 .time = 0x0102030405060708,
                                 .length = 5,
                                 .bytes = frame,
                                 .direction = pcapng::Direction::Outbound,
                                 .dropped = 9,
                                 .comment = "no"});
    EXPECT_EQ(bytes, Hex("06000000 48000000 01000000 04030201 08070605 05000000 05000000 0102030405000000"
                         "0200 0400 02000000 0400 0800 0900000000000000 0100 0200 6e6f0000"
                         "0000 0000 48000000"));
    const std::size_t first = bytes.size();
    pcapng::AppendStatistics(bytes, {.interface = 0,
                                     .time = 1,
                                     .started = 2,
                                     .ended = 3,
                                     .received = 4,
                                     .droppedByInterface = 5,
                                     .droppedByCapture = 6,
                                     .delivered = 7});
    EXPECT_EQ(Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(first), bytes.end()),
              Hex("05000000 64000000 00000000 00000000 01000000"
                  "0200 0800 0000000002000000 0300 0800 0000000003000000 0400 0800 0400000000000000"
                  "0500 0800 0500000000000000 0700 0800 0600000000000000 0800 0800 0700000000000000"
                  "0000 0000 64000000"));
    for (const auto& [length, whole, packets] :
         {std::tuple{first - 1, std::size_t{0}, 0U}, {first, first, 1U}, {bytes.size(), bytes.size(), 1U}}) {
        EXPECT_EQ(pcapng::FindWholeBlocks(bytes, length).size, whole);
        EXPECT_EQ(pcapng::FindWholeBlocks(bytes, length).packets, packets);
    }
}

} // namespace
} // namespace vnxtest
