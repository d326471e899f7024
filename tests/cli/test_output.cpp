// The terminal program's roads in and out: files that appear whole, the document, the message queue.
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

class FilesTest : public testing::Test {
protected:
    fs::path Place(const char* name) const { return m_place.Folder() / name; }
    std::ptrdiff_t FileCount() const {
        return std::distance(fs::directory_iterator(m_place.Folder()), fs::directory_iterator{});
    }

    TemporaryProfile m_place;
};

TEST_F(FilesTest, AFileAppearsWholeOrNotAtAll) {
    const fs::path path = Place("file");
    std::ofstream(path) << "old";
    fs::permissions(path, fs::perms(0640));
    AtomicFile file;
    ASSERT_TRUE(file.Open(path, FileAccess::Document));
    ASSERT_TRUE(file.Write("new ") && file.Write("content"));
    EXPECT_EQ(Slurp(path), "old");
    ASSERT_TRUE(file.Commit());
    EXPECT_EQ(Slurp(path), "new content");
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0640)) << "who may read it stays";

    ASSERT_TRUE(file.Open(path, FileAccess::Document));
    ASSERT_TRUE(file.Write("discarded"));
    file.Discard();
    EXPECT_EQ(Slurp(path), "new content");
    EXPECT_FALSE(file.Write("late") || file.Commit());
    EXPECT_EQ(FileCount(), 1);
}

TEST_F(FilesTest, PlacesThatCannotBeReplacedAreRefusedAtOnce) {
    fs::create_directory(Place("folder"));
    AtomicFile file;
    for (const fs::path& path : {Place("folder"), Place("no/such/file"), Place("folder/")}) {
        EXPECT_FALSE(file.Open(path, FileAccess::Document)) << path;
        EXPECT_NE(file.Problem().find(path.filename().wstring()), std::wstring::npos)
            << ToUtf8(file.Problem());
        EXPECT_FALSE(file.IsOpen());
    }
    // A full disk shows at the first write, and nothing is committed after it.
    ASSERT_TRUE(file.Open("/dev/full", FileAccess::Document));
    EXPECT_FALSE(file.Write("x"));
    EXPECT_FALSE(file.Write("x") || file.Commit());
    EXPECT_NE(file.Problem().find(L"errno=28"), std::wstring::npos);
}

TEST_F(FilesTest, NamesOfAllKinds) {
    for (const char8_t* name : {u8"\u00fc\u6f22\U0001F600", u8"with blank", u8"-dash", u8".hidden"}) {
        AtomicFile file;
        const fs::path path = m_place.Folder() / name;
        ASSERT_TRUE(file.Open(path, FileAccess::Document) && file.Write("x") && file.Commit()) << path;
        EXPECT_EQ(Slurp(path), "x");
    }
}

TEST_F(FilesTest, TheDocumentGoesToBothPlaces) {
    std::FILE* const stream = std::fopen(Place("stream").c_str(), "w");
    DocumentOutput output(stream);
    ASSERT_TRUE(output.OpenFile(Place("document")));
    output.Write("12:00:00.000 first\n");
    output.Write("");
    output.Write("12:00:00.000\n12:00:00.001 second \xc3\xbc\n");
    EXPECT_EQ(Slurp(Place("stream")), "12:00:00.000 first\n12:00:00.000\n12:00:00.001 second \xc3\xbc\n")
        << "at once";
    EXPECT_TRUE(output.Finish());
    EXPECT_EQ(Slurp(Place("document")), Slurp(Place("stream")));
    std::fclose(stream);
}

TEST_F(FilesTest, AStreamThatFailsDoesNotCostTheFile) {
    std::FILE* const stream = std::fopen("/dev/full", "w");
    DocumentOutput output(stream);
    ASSERT_TRUE(output.OpenFile(Place("document")));
    output.Write("a\n");
    EXPECT_TRUE(output.HasFailed());
    output.Write("b\n");
    EXPECT_FALSE(output.Finish());
    EXPECT_EQ(Slurp(Place("document")), "a\nb\n");
    EXPECT_NE(output.Problem().find(L"errno=28"), std::wstring::npos);
    std::fclose(stream);
}

TEST(DocumentOutputTest, RemembersTheLastFailureMessage) {
    std::FILE* const stream = std::tmpfile();
    DocumentOutput output(stream);
    output.Write("12:00:00.000 ** Someone is PINGing Vant!\n12:00:00.000 *** Interface x opened\n");
    EXPECT_EQ(output.LastFailureMessage(), L"");
    output.Write("12:00:00.000 ** CreateInterface(x): vnetx32_open failed; errno=1: No\n12:00:00.000\n");
    EXPECT_EQ(output.LastFailureMessage(), L"** CreateInterface(x): vnetx32_open failed; errno=1: No");
    // The second line of a message may come with the next batch.
    output.Write("12:00:00.000 ** Write(x): vnetx32_write failed;\n");
    output.Write("12:00:00.000     errno=2\n12:00:00.000 more\n");
    EXPECT_EQ(output.LastFailureMessage(), L"** Write(x): vnetx32_write failed;\n    errno=2");
    output.Write("short\nno line end");
    EXPECT_EQ(output.LastFailureMessage(), L"** Write(x): vnetx32_write failed;\n    errno=2");
    std::fclose(stream);
}

TEST(MessageQueueTest, NothingIsLostAndAnInterruptComesFirst) {
    MessageQueue queue;
    constexpr int kThreads = 4;
    constexpr int kMessages = 2000;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&queue] {
            for (int k = 0; k < kMessages; ++k) {
                queue.Post(k % 2 == 0 ? ViewMessage::OutputPending : ViewMessage::InterfaceOpened);
            }
        });
    }
    int opened = 0;
    for (int i = 0; i < kThreads * kMessages; ++i) {
        const TerminalMessage next = queue.Wait(std::nullopt);
        ASSERT_EQ(next.event, TerminalEvent::Message);
        opened += next.message == ViewMessage::InterfaceOpened ? 1 : 0;
    }
    EXPECT_EQ(opened, kThreads * kMessages / 2);
    for (std::thread& thread : threads) {
        thread.join();
    }
    queue.Post(ViewMessage::OutputPending);
    queue.PostInterrupt();
    EXPECT_EQ(queue.Wait(std::nullopt).event, TerminalEvent::Interrupted);
    EXPECT_EQ(queue.Wait(std::nullopt).event, TerminalEvent::Message);
}

TEST(MessageQueueTest, ADeadlineIsKeptWhileMessagesArrive) {
    MessageQueue queue;
    queue.Post(ViewMessage::OutputPending);
    const auto now = std::chrono::steady_clock::now();
    EXPECT_EQ(queue.Wait(now).event, TerminalEvent::TimedOut) << "even with a message waiting";
    EXPECT_EQ(queue.Wait(now + std::chrono::minutes(1)).event, TerminalEvent::Message);
    EXPECT_EQ(queue.Wait(now + std::chrono::milliseconds(30)).event, TerminalEvent::TimedOut);
    EXPECT_GE(std::chrono::steady_clock::now(), now + std::chrono::milliseconds(30));
    queue.PostInterrupt();
    EXPECT_EQ(queue.Wait(MessageQueue::Moment::min()).event, TerminalEvent::Interrupted);
}

} // namespace
} // namespace vnxtest
