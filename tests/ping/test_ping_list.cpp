#include <array>

#include <gtest/gtest.h>

#include "packets/icmp_echo.h"
#include "ping/ping_list.h"
#include "ping/ping_test.h"

namespace vnxtest {
namespace {

CPing Ping(std::uint16_t id, std::uint32_t sequence, std::uint32_t sent = 0) {
    CPing ping;
    ping.wIcmpId = id;
    ping.wIcmpSeq = SwapNetwork16(static_cast<std::uint16_t>(sequence));
    ping.dwSentTick = sent;
    ping.dwDeadlineTick = sent + 500;
    return ping;
}

std::optional<CPingList::Position> Find(const CPingList& list, std::uint16_t id, std::uint32_t sequence) {
    return list.Find(id, SwapNetwork16(static_cast<std::uint16_t>(sequence)));
}

TEST(PingList, FindsTheOldestByIdentifierAndSequence) {
    CPingList list;
    EXPECT_FALSE(Find(list, 7, 1));
    for (std::uint32_t n = 0; n < 300; ++n) {
        list.AddTail(Ping(7, 65500 + n)); // across the wrap of the sequence numbers
    }
    EXPECT_EQ(Find(list, 7, 0), 36U);
    EXPECT_EQ(Find(list, 7, 65500 + 299), 299U);
    EXPECT_FALSE(Find(list, 7, 65500 + 300));
    EXPECT_FALSE(Find(list, 7, 65499));
    EXPECT_FALSE(Find(list, 8, 65500));
    for (std::uint32_t n = 300; n < 70000; ++n) {
        list.AddTail(Ping(7, 65500 + n)); // more than a whole round
    }
    EXPECT_EQ(Find(list, 7, 65499), 65535U);
    EXPECT_EQ(Find(list, 7, 65510), 10U);

    list.RemoveAll();
    EXPECT_EQ(list.GetCount(), 0U);
    for (const auto& [id, sequence] : {std::pair{7, 5}, {9, 6}, {7, 5}, {7, 100}}) { // of no regular shape
        list.AddTail(Ping(static_cast<std::uint16_t>(id), static_cast<std::uint32_t>(sequence)));
    }
    EXPECT_EQ(Find(list, 7, 5), 0U);
    EXPECT_EQ(Find(list, 9, 6), 1U);
    EXPECT_EQ(Find(list, 7, 100), 3U);
    EXPECT_FALSE(Find(list, 7, 6));
}

TEST(PingStatistics, CountEveryRecordOnceAndRoundAsStated) {
    const auto loss = [](int lost, int sent) {
        CPingList list;
        for (int n = 0; n < sent; ++n) {
            CPing ping = Ping(7, static_cast<std::uint32_t>(n));
            ping.nReplies = n < lost ? 0 : 1;
            list.AddTail(ping);
        }
        return ComputePingStatistics(list).lossPercent;
    };
    for (const auto& [lost, sent, percent] :
         {std::tuple{0, 0, 0U}, {1, 3, 33U}, {2, 3, 67U}, {1, 8, 13U}, {3, 3, 100U}, {0, 3, 0U}}) {
        EXPECT_EQ(loss(lost, sent), percent);
    }

    CPingList list;
    CPing late = Ping(7, 0, 0xFFFFFFF0); // over the wrap of the ticks
    late.nReplies = 3;
    late.nTimeouts = 1;
    late.dwReplyTick = 20;
    list.AddTail(late);
    CPing quick = Ping(7, 1, 10);
    quick.nReplies = 1;
    quick.dwReplyTick = 11;
    list.AddTail(quick);
    const PingStatistics s = ComputePingStatistics(list);
    EXPECT_EQ((std::array{s.sent, s.received, s.timeouts, s.duplicates, s.lost}),
              (std::array{2U, 2U, 1U, 2U, 0U}));
    EXPECT_EQ((std::array{s.minimum, s.maximum, s.average}), (std::array{1U, 36U, 18U}));
}

} // namespace
} // namespace vnxtest
