// The terminal program's roads in and out: files that appear whole, the
// document, the message queue.
#include <cstdio>
#include <fstream>

#include <gtest/gtest.h>

#include "cli/document_output.h"
#include "cli/message_queue.h"
#include "platform/atomic_file.h"
#include "settings/temporary_profile.h"
#include "wrenlib/text.h"

namespace vnxtest {
namespace {

namespace fs = std::filesystem;

std::string Slurp(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(AtomicFileTest, AFileAppearsWholeOrNotAtAll) {
    const TemporaryProfile place;
    const fs::path path = place.Folder() / "file";
    std::ofstream(path) << "old";
    fs::permissions(path, fs::perms(0640));
    AtomicFile file;
    ASSERT_TRUE(file.Open(path, FileAccess::Document));
    ASSERT_TRUE(file.Write("new ") && file.Write("content"));
    EXPECT_EQ(Slurp(path), "old");
    ASSERT_TRUE(file.Commit());
    EXPECT_EQ(Slurp(path), "new content");
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0640)) << "who may read it stays";

    ASSERT_TRUE(file.Open(path, FileAccess::Document) && file.Write("discarded"));
    file.Discard();
    EXPECT_EQ(Slurp(path), "new content");
    EXPECT_FALSE(file.Write("late") || file.Commit());
    EXPECT_EQ(std::distance(fs::directory_iterator(place.Folder()), fs::directory_iterator{}), 1);
    // A full disk shows at the first write, and nothing is committed after it.
    ASSERT_TRUE(file.Open("/dev/full", FileAccess::Document));
    EXPECT_FALSE(file.Write("x") || file.Write("x") || file.Commit());
    EXPECT_NE(file.Problem().find(L"errno=28"), std::wstring::npos);
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
