#include <gtest/gtest.h>

#include "packets/icmp_echo.h"
#include "ping/ping_list.h"

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
    EXPECT_TRUE(Find(list, 7, 0) == 36U && Find(list, 7, 65500 + 299) == 299U);
    EXPECT_FALSE(Find(list, 7, 65500 + 300) || Find(list, 7, 65499) || Find(list, 8, 65500));
    list.RemoveAll();
    EXPECT_EQ(list.GetCount(), 0U);
    for (const auto& [id, sequence] : {std::pair{7, 5}, {9, 6}, {7, 5}, {7, 100}}) { // of no regular shape
        list.AddTail(Ping(static_cast<std::uint16_t>(id), static_cast<std::uint32_t>(sequence)));
    }
    EXPECT_TRUE(Find(list, 7, 5) == 0U && Find(list, 9, 6) == 1U && Find(list, 7, 100) == 3U &&
                !Find(list, 7, 6));
}

// Three times around the sequence numbers: of one sent 65,536 pings ago a reply tells nothing.
TEST(PingList, KeepsTheLastOfManyAndCountsAll) {
    static_assert(sizeof(CPing) * CPingList::kCapacity < 4 * 1024 * 1024);
    constexpr std::uint32_t kSent = 200'000;
    constexpr auto kKept = static_cast<std::uint32_t>(CPingList::kCapacity);
    CPingList list;
    for (std::uint32_t n = 0; n < kSent; ++n) {
        CPing ping = Ping(7, n, n);
        ASSERT_TRUE(list.HasRoom()) << n;
        list.AddTail(ping);
        ASSERT_EQ(list.FirstUndecided(), n);
        ping.nReplies = n % 1000 == 0 ? 0 : 1;
        ping.nTimeouts = n % 1000 == 0 ? 1 : 0;
        ping.dwReplyTick = ping.dwSentTick + n % 10;
        list.SetAt(n, ping);
    }
    EXPECT_EQ(list.GetCount(), kSent);
    EXPECT_EQ(Find(list, 7, kSent - 1), kSent - 1);
    EXPECT_EQ(Find(list, 7, kSent), kSent - kKept) << "the oldest one kept, and none before it";
    EXPECT_EQ(list.GetAt(kSent - kKept).dwSentTick, kSent - kKept);
    const PingStatistics s = list.Statistics();
    EXPECT_TRUE(s.sent == kSent && s.lost == 200 && s.timeouts == 200 && s.received == kSent - 200);
    EXPECT_TRUE(s.maximum == 9 && s.average == 4 && s.lossPercent == 0);

    const PingRecords all = list.CopyFrom(5);
    EXPECT_TRUE(all.first == kSent - kKept && all.pings.size() == kKept && all.letGo.sent == all.first);
    EXPECT_EQ(list.CopyFrom(kSent - 1).pings.size(), 1U);
    EXPECT_TRUE(list.CopyFrom(kSent).pings.empty());
}

TEST(PingList, HasNoRoomWhileTheOldestOfAFullListIsUndecided) {
    CPingList list;
    for (std::uint32_t n = 0; n < CPingList::kCapacity; ++n) {
        EXPECT_TRUE(list.HasRoom());
        list.AddTail(Ping(7, n));
    }
    EXPECT_FALSE(list.HasRoom());
    CPing oldest = list.GetAt(0);
    oldest.nTimeouts = 1;
    list.SetAt(0, oldest);
    EXPECT_TRUE(list.HasRoom());
}

} // namespace
} // namespace vnxtest
