// The terminal program's roads in and out: files that appear whole, the
// document, the message queue.
#include <cstdio>
#include <fstream>
#include <thread>

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

    for (const fs::path& bad : {place.Folder(), place.Folder() / "no/such/file", place.Folder() / "file/"}) {
        EXPECT_FALSE(file.Open(bad, FileAccess::Document) || file.IsOpen()) << bad;
        EXPECT_NE(file.Problem().find(bad.filename().wstring()), std::wstring::npos);
    }
    // A full disk shows at the first write, and nothing is committed after it.
    ASSERT_TRUE(file.Open("/dev/full", FileAccess::Document));
    EXPECT_FALSE(file.Write("x") || file.Write("x") || file.Commit());
    EXPECT_NE(file.Problem().find(L"errno=28"), std::wstring::npos);
}

TEST(DocumentOutputTest, AStreamThatFailsDoesNotCostTheFile) {
    const TemporaryProfile place;
    std::FILE* const stream = std::fopen("/dev/full", "w");
    DocumentOutput output(stream);
    ASSERT_TRUE(output.OpenFile(place.Folder() / "document"));
    output.Write("a\n");
    EXPECT_TRUE(output.HasFailed());
    output.Write("b\n");
    EXPECT_FALSE(output.Finish());
    EXPECT_EQ(Slurp(place.Folder() / "document"), "a\nb\n");
    EXPECT_NE(output.Problem().find(L"errno=28"), std::wstring::npos);
    std::fclose(stream);
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

TEST(MessageQueueTest, NothingIsLostAnInterruptComesFirstAndADeadlineIsKept) {
    MessageQueue queue;
    constexpr int kMessages = 2000;
    const auto post = [&queue] {
        for (int k = 0; k < kMessages; ++k) {
            queue.Post(k % 2 == 0 ? ViewMessage::OutputPending : ViewMessage::InterfaceOpened);
        }
    };
    std::thread first(post), second(post);
    int opened = 0;
    for (int i = 0; i < 2 * kMessages; ++i) {
        const TerminalMessage next = queue.Wait(std::nullopt);
        EXPECT_EQ(next.event, TerminalEvent::Message);
        opened += next.message == ViewMessage::InterfaceOpened ? 1 : 0;
    }
    EXPECT_EQ(opened, kMessages);
    first.join();
    second.join();

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
