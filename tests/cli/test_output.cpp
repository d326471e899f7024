// The terminal program's roads in and out: the document and the message queue.
#include <cstdio>

#include <gtest/gtest.h>

#include "cli/document_output.h"
#include "cli/message_queue.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

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
