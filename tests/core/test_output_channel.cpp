#include <cerrno>
#include <regex>

#include "support/output_fixture.h"
#include "wrenlib/trace.h"

namespace vnxtest {
namespace {

using OutputChannelTest = OutputFixture;

TEST_F(OutputChannelTest, StampsEveryLineAndEndsItOnce) {
    LogMsg(L"abc\n\n");
    LogMsg(L"  no end  ");
    LogMsg(L"\nx\n");
    const std::string text = m_channel.TakePending();
    const std::string stamp = "\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d";
    EXPECT_TRUE(std::regex_match(text, std::regex(stamp + " abc\n" + stamp + "\n" + stamp + "   no end\n" +
                                                  stamp + "\n" + stamp + " x\n")))
        << text;
}

TEST_F(OutputChannelTest, PostsOnceUntilTheQueueIsTaken) {
    LogMsg(L"one\n");
    LogMsg(L"two\n");
    EXPECT_EQ(m_view.Count(ViewMessage::OutputPending), 1);
    EXPECT_EQ(TakeText(), "one\ntwo\n");
    LogMsg(L"three\n");
    EXPECT_EQ(m_view.Count(ViewMessage::OutputPending), 2);
    LogMsg(L"");
    // The library's lines, too; the caller's errno is kept.
    errno = ENODEV;
    DebugOutputCallback(nullptr);
    DebugOutputCallback("from %s the library\nsecond", "ignored");
    EXPECT_EQ(errno, ENODEV);
    EXPECT_EQ(TakeText(), "three\nfrom %s the library\nsecond\n");
    // Control sequences become visible text: no terminal command, no forged line.
    DebugOutputCallback("\x1b]0;title\a\rforged\r\nx\ty\n");
    LogMsg(L"%s\n", std::wstring(L"\b\x7f\x9b\u202e"));
    EXPECT_EQ(TakeText(), "\\x1b]0;title\\x07\\x0dforged\nx y\n\\x08\\x7f\\x9b\\u202e\n");
}

TEST_F(OutputChannelTest, WhatNobodyTakesIsBounded) {
    const std::string lines = "12:00:00.000 first\n12:00:00.001 " + std::string(1 << 20, 'x') + "\n";
    for (int round = 0; round < 40; ++round) {
        m_channel.Append(lines);
    }
    const std::string text = m_channel.TakePending();
    EXPECT_LE(text.size(), OutputChannel::kMostPending + 100);
    const auto missing = 2 * (40 - text.size() / lines.size());
    EXPECT_TRUE(text.ends_with("x\n12:00:00.000 ** " + std::to_string(missing) +
                               " lines are left out here, for nobody took them.\n"));
    m_channel.Append("12:00:00.002 one\n");
    EXPECT_EQ(m_channel.TakePending(), "12:00:00.002 one\n");
    EXPECT_EQ(m_channel.LinesLeftOut(), missing);
}

TEST_F(OutputChannelTest, DropsTextWithoutAViewAndTracesItWithoutACallback) {
    m_channel.Detach();
    LogMsg(L"before the view\n");
    m_channel.Attach();
    EXPECT_EQ(TakeText(), "");

    RegisterDebugOutput(m_library);
    EXPECT_EQ(m_library.callbacksSet, 1) << "tried once, whatever came of it";
    UnregisterDebugOutput();
    m_library.acceptCallback = false;
    RegisterDebugOutput(m_library);
    RegisterDebugOutput(m_library);
    EXPECT_EQ(m_library.callbacksSet, 2);
    std::wstring traced;
    SetTraceSink([&](std::wstring_view line) { traced += line; });
    LogMsg(L"refused %d\n", 7);
    SetTraceSink(nullptr);
    EXPECT_TRUE(IsDebugOutputRefused());
    EXPECT_EQ(traced, L"refused 7\n");
    EXPECT_EQ(TakeText(), "");
}

TEST_F(OutputChannelTest, ForeignCodeMeetsNoExceptionAndNobodyAfterTheEnd) {
    struct FailingView : ViewPort {
        void PostViewMessage(ViewMessage) override { throw std::bad_alloc(); }
    } failing;
    m_channel.Detach();
    {
        OutputChannel channel(failing);
        channel.Attach();
        EXPECT_NO_THROW(DebugOutputCallback("too much\n"));
    }
    m_channel.Attach();
    UnregisterDebugOutput();
    DebugOutputCallback("too late\n");
    EXPECT_EQ(TakeText(), "");
}

} // namespace
} // namespace vnxtest
