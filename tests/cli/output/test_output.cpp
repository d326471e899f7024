// The terminal program's output and input: the document and the message queue.
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>

#include "cli/messages/message_queue.h"
#include "cli/output/background_writer.h"
#include "cli/output/document_output.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

// A destination that takes text only when allowed, and records it.
struct Valve {
    std::mutex lock;
    std::condition_variable changed;
    bool open = false;
    bool entered = false;
    std::string taken;

    static BackgroundWriter::Destination Into(std::shared_ptr<Valve> valve) {
        const auto write = [valve](std::string_view text) {
            std::unique_lock lock(valve->lock);
            valve->entered = true;
            valve->changed.notify_all();
            valve->changed.wait(lock, [&] { return valve->open; });
            valve->taken += text;
            return std::wstring();
        };
        return {write, [valve] { return std::wstring(valve->taken.empty() ? L"nothing came" : L""); }};
    }
    void Open() {
        const std::lock_guard hold(lock);
        open = true;
        changed.notify_all();
    }
    void AwaitWriter() {
        std::unique_lock hold(lock);
        changed.wait(hold, [this] { return entered; });
    }
};

std::shared_ptr<const std::string> Lines(int from, int to) {
    std::string text;
    for (int number = from; number < to; ++number) {
        text += "12:00:00.000 line " + std::to_string(number) + "\n";
    }
    return std::make_shared<const std::string>(text);
}

void AwaitEnd(const BackgroundWriter& writer) {
    while (!writer.IsDone()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

TEST(BackgroundWriterTest, WhatNobodyTakesIsBoundedAndALineSaysWhatIsMissing) {
    const auto valve = std::make_shared<Valve>();
    std::atomic<int> ends = 0;
    BackgroundWriter writer(
        Valve::Into(valve), [&ends] { ++ends; }, 10 * Lines(100, 110)->size());
    for (int number = 100; number < 500; number += 10) {
        writer.Append(Lines(number, number + 10));
    }
    EXPECT_EQ(writer.LinesLeftOut(), 300U);
    EXPECT_FALSE(writer.IsIdle() || writer.IsDone());
    valve->Open();
    writer.WaitUntilIdle(std::chrono::minutes(1));
    writer.Append(Lines(500, 510));
    writer.Close();
    AwaitEnd(writer);
    EXPECT_EQ(valve->taken, *Lines(100, 200) +
                                "12:00:00.000 ** 300 lines are left out here, for nobody took them.\n" +
                                *Lines(500, 510));
    EXPECT_TRUE(ends == 1 && writer.Problem().empty());
}

TEST(BackgroundWriterTest, TheLastLinesCanBeAllThatIsWaitedFor) {
    const auto valve = std::make_shared<Valve>();
    BackgroundWriter writer(Valve::Into(valve));
    writer.Append(Lines(0, 1));
    valve->AwaitWriter();
    for (int round = 0; round < 8; ++round) {
        writer.Append(Lines(1000, 3000)); // 46,000 bytes
    }
    writer.Append(Lines(9000, 9001));
    writer.SkipToLastLines();
    EXPECT_EQ(writer.LinesLeftOut(), 14000U);
    valve->Open();
    writer.Close();
    AwaitEnd(writer);
    const bool asWanted =
        valve->taken == *Lines(0, 1) +
                            "12:00:00.000 ** 14000 lines are left out here, for nobody took them.\n" +
                            *Lines(1000, 3000) + *Lines(9000, 9001);
    EXPECT_TRUE(asWanted) << valve->taken.size() << " bytes";
}

TEST(DocumentOutputTest, RemembersTheLastFailureMessage) {
    std::FILE* const stream = std::tmpfile();
    DocumentOutput output(stream);
    output.Write("12:00:00.000 ** Someone is PINGing Vant!\n12:00:00.000 *** "
                 "Interface x opened\n");
    EXPECT_EQ(output.LastFailureMessage(), L"");
    output.Write("12:00:00.000 ** CreateInterface(x): vnetx32_open failed; "
                 "errno=1: No\n12:00:00.000\n");
    EXPECT_EQ(output.LastFailureMessage(), L"** CreateInterface(x): vnetx32_open failed; errno=1: No");
    // The second line of a message may come with the next batch.
    output.Write("12:00:00.000 ** Write(x): vnetx32_write failed;\n");
    output.Write("12:00:00.000     errno=2\n12:00:00.000 more\nshort\nno line end");
    EXPECT_EQ(output.LastFailureMessage(), L"** Write(x): vnetx32_write failed;\n    errno=2");
    std::fclose(stream);
}

TEST(MessageQueueTest, AnInterruptComesFirstAndADeadlineIsKept) {
    MessageQueue queue;
    queue.Post(ViewMessage::OutputPending);
    queue.PostInterrupt();
    const auto now = std::chrono::steady_clock::now();
    EXPECT_EQ(queue.Wait(MessageQueue::Moment::min()).event, TerminalEvent::Interrupted);
    EXPECT_EQ(queue.Wait(now).event, TerminalEvent::TimedOut) << "even with a message waiting";
    EXPECT_EQ(queue.Wait(now + std::chrono::minutes(1)).event, TerminalEvent::Message);
    EXPECT_EQ(queue.Wait(now + std::chrono::milliseconds(30)).event, TerminalEvent::TimedOut);
    EXPECT_GE(std::chrono::steady_clock::now(), now + std::chrono::milliseconds(30));
}

} // namespace
} // namespace vnxtest
