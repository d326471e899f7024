#include "wrenlib/trace_feed.h"

#include <atomic>
#include <chrono>
#include <future>
#include <utility>

#include <gtest/gtest.h>

#include "wrenlib/text.h"
#include "wrenlib/trace.h"

namespace vnxtest {
namespace {

std::string Lines(int count) {
    std::string lines;
    for (int index = 0; index < count; ++index) {
        lines += "line " + std::to_string(index) + "\n";
    }
    return lines;
}

// A hang, once in some thousand times on Windows, is what this looks for.
TEST(TraceFeed, EndsWhateverItsThreadIsAt) {
    std::size_t traced = 0;
    bool elsewhere = true;
    SetTraceSink([&, caller = std::this_thread::get_id()](std::wstring_view text) {
        traced += text.size();
        elsewhere = elsewhere && std::this_thread::get_id() != caller;
    });
    for (int round = 0; round < 1000; ++round) {
        TraceFeed feed;
        feed.Hand("line\n");
    }
    SetTraceSink(nullptr);
    EXPECT_TRUE(traced == 1000U * 5 && elsewhere);
}

TEST(TraceFeed, ASlowReaderHoldsNobodyUpAndMissesWhatIsTooMuch) {
    std::promise<void> reader;
    std::shared_future<void> going = reader.get_future().share();
    std::string traced;
    std::promise<void> began;
    bool hasBegun = false;
    std::atomic<bool> over = false;
    SetTraceSink([&, going](std::wstring_view text) {
        if (!std::exchange(hasBegun, true)) {
            began.set_value();
        }
        going.wait();
        traced += ToUtf8(text);
        over = over || text.find(L"the last line") != std::wstring_view::npos;
    });
    {
        TraceFeed feed;
        feed.Hand("the first line\n");
        began.get_future().wait(); // else it takes some of what waits meanwhile, and there is room for more
        const std::string batch = Lines(100'000);
        int handed = 0;
        for (std::size_t bytes = 0; bytes < 3 * TraceFeed::kMostWaiting; bytes += batch.size()) {
            feed.Hand(batch); // nobody reads, and still it returns
            ++handed;
        }
        EXPECT_GT(handed, 8);
        reader.set_value();
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        do {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            feed.Hand("the last line\n");
        } while (!over && std::chrono::steady_clock::now() < end);
    }
    SetTraceSink(nullptr);
    EXPECT_NE(traced.find("00000 lines were left out of the trace\nthe last line\n"), std::string::npos);
    EXPECT_LT(traced.size(), 3 * TraceFeed::kMostWaiting);
}

} // namespace
} // namespace vnxtest
