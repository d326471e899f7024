// The queue of a capture: order, room, and what is counted when there is none.
#include <gtest/gtest.h>

#include <array>
#include <thread>
#include <vector>

#include "capture/frame_queue.h"

namespace vnxtest {
namespace {

FrameQueue::Frame FrameOf(const std::vector<std::uint8_t>& bytes, std::uint8_t interface = 0) {
    return {.interface = interface, .direction = pcapng::Direction::Inbound, .bytes = bytes};
}

TEST(FrameQueue, FramesLeaveInOrderOnceClosed) {
    constexpr std::array<std::uint8_t, 2> kContents{1, 2};
    FrameQueue queue(4096);
    const std::vector<std::uint8_t> first(60, 1), second(60, 2);
    QueuedFrame* const read = queue.Reserve(FrameOf(first));
    queue.Close(queue.Reserve(FrameOf(second)));
    EXPECT_EQ(queue.Front(), nullptr) << "the first has no verdict yet";
    read->verdict.fate = FrameFate::Answered;
    queue.Close(read);
    for (const std::uint8_t content : kContents) {
        ASSERT_NE(queue.Front(), nullptr);
        EXPECT_EQ(queue.Front()->Bytes().front(), content);
        queue.Pop();
    }
    EXPECT_TRUE(queue.IsEmpty());
}

TEST(FrameQueue, AFullQueueDropsAndTheNextFrameOfThatInterfaceSaysSo) {
    FrameQueue queue(2048);
    const std::vector<std::uint8_t> frame(200, 7);
    std::uint64_t put = 0;
    while (QueuedFrame* const queued = queue.Reserve(FrameOf(frame))) {
        queue.Close(queued);
        ++put;
    }
    EXPECT_EQ(queue.Reserve(FrameOf(frame, 1)), nullptr);
    EXPECT_EQ(queue.Reserve(FrameOf(frame)), nullptr);
    EXPECT_EQ(queue.Dropped(0), 2U);
    EXPECT_EQ(queue.Dropped(), 3U);
    for (std::uint64_t taken = 0; taken < put; ++taken) {
        ASSERT_NE(queue.Front(), nullptr);
        EXPECT_EQ(queue.Front()->dropped, 0U);
        queue.Pop();
    }
    queue.Close(queue.Reserve(FrameOf(frame, 1)));
    queue.Close(queue.Reserve(FrameOf(frame)));
    EXPECT_EQ(queue.Front()->dropped, 1U);
    queue.Pop();
    EXPECT_EQ(queue.Front()->dropped, 2U);
}

// Sizes that leave every kind of gap at the end of the ring; a wake-up that is lost hangs the test.
TEST(FrameQueue, ManyThreadsAndOneReaderLoseNothingButWhatIsCounted) {
    constexpr std::uint64_t kEach = 20'000;
    FrameQueue queue(16 * 1024);
    const auto put = [&queue](std::uint8_t interface) {
        std::vector<std::uint8_t> bytes;
        for (std::uint64_t number = 0; number < kEach; ++number) {
            bytes.assign(1 + number % 199, static_cast<std::uint8_t>(number));
            if (QueuedFrame* const queued = queue.Reserve(FrameOf(bytes, interface))) {
                queue.Close(queued);
            } else {
                std::this_thread::yield();
            }
        }
    };
    std::vector<std::uint64_t> taken(2), dropped(2);
    std::thread reader([&] {
        for (bool ended = false; !ended || !queue.IsEmpty();) {
            ended = queue.Wait(std::chrono::milliseconds(1));
            while (const QueuedFrame* const frame = queue.Front()) {
                const std::uint64_t number =
                    taken[frame->interface] + dropped[frame->interface] + frame->dropped;
                dropped[frame->interface] += frame->dropped;
                ++taken[frame->interface];
                ASSERT_EQ(frame->length, 1 + number % 199);
                ASSERT_EQ(frame->Bytes().back(), static_cast<std::uint8_t>(number));
                queue.Pop();
            }
        }
    });
    std::thread first(put, std::uint8_t{0}), second(put, std::uint8_t{1});
    first.join();
    second.join();
    queue.End();
    reader.join();
    for (const std::size_t interface : {0U, 1U}) {
        EXPECT_EQ(taken[interface] + queue.Dropped(interface), kEach);
    }
}

} // namespace
} // namespace vnxtest
