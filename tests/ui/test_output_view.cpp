#include <algorithm>
#include <thread>

#include <wx/fdrepdlg.h>

#include "core/output_channel.h"
#include "ui/output_pump.h"
#include "ui/output_text.h"
#include "ui_application.h"

namespace vnxtest {
namespace {

class OutputView : public WindowTest, public ViewPort, public wxEvtHandler {
protected:
    void SetUp() override {
        WindowTest::SetUp();
        if (m_frame == nullptr) {
            return;
        }
        m_text = std::make_unique<COutputText>(m_frame).release();
        m_frame->SendSizeEvent();
        m_channel = std::make_unique<OutputChannel>(*this);
        m_pump = std::make_unique<OutputPump>(*m_channel, *m_text, [this] { ++m_appends; });
    }
    void TearDown() override {
        m_pump.reset();
        WindowTest::TearDown();
    }
    void PostViewMessage(ViewMessage) override {
        CallAfter([this] {
            if (m_pump) {
                m_pump->OnOutputPending();
            }
        });
    }
    std::string Text() { return std::string(m_text->WholeText()); }
    // Appends at once.
    void Show(const std::string& lines) {
        m_channel->Append(lines);
        m_pump->Flush();
    }

    COutputText* m_text = nullptr;
    std::unique_ptr<OutputChannel> m_channel;
    std::unique_ptr<OutputPump> m_pump;
    int m_appends = 0;
};

std::string Lines(int count, int from = 0) {
    std::string lines;
    for (int index = 0; index < count; ++index) {
        lines += "04:05:06.789  Line number " + std::to_string(from + index) + " of the report\n";
    }
    return lines;
}

TEST_F(OutputView, FollowsTheEndOnlyWhenTheCaretIsThere) {
    Show(Lines(500));
    EXPECT_TRUE(m_text->IsAtEnd());
    EXPECT_EQ(m_text->GetFirstVisibleLine() + m_text->LinesOnScreen(), m_text->GetLineCount());

    // A reader with a selection further up keeps it, and the part of the text he looks at.
    m_text->SetSelection(100, 140);
    m_text->SetFirstVisibleLine(3);
    Show(Lines(500, 500));
    EXPECT_EQ(m_text->GetSelectionStart(), 100);
    EXPECT_EQ(m_text->GetSelectionEnd(), 140);
    EXPECT_EQ(m_text->GetFirstVisibleLine(), 3);
    // So does one who has all selected: his selection ends where it ended.
    m_text->SelectAll();
    const int end = m_text->GetLength();
    Show(Lines(1, 1000));
    EXPECT_EQ(m_text->GetSelectionEnd(), end);

    m_text->GotoPos(m_text->GetLength());
    Show(Lines(500, 1001));
    EXPECT_TRUE(m_text->IsAtEnd());
    EXPECT_EQ(m_text->GetFirstVisibleLine() + m_text->LinesOnScreen(), m_text->GetLineCount());
    EXPECT_EQ(Text(), Lines(1501));
}

TEST_F(OutputView, KeepsTextAsItIsAndRefusesTyping) {
    const std::string text = "caf\xC3\xA9 \xE2\x86\x92 \xF0\x9F\x98\x80\ttab\n\nend\n";
    Show(text);
    EXPECT_EQ(Text(), text);
    m_text->WriteText("x");
    m_text->Cut();
    m_text->Undo();
    EXPECT_EQ(Text(), text);
    EXPECT_FALSE(m_text->CanUndo());
}

TEST_F(OutputView, FindGoesRoundAndSelects) {
    Show("alpha beta\ngamma Beta\ndelta betas\n");
    m_text->GotoPos(0);
    ASSERT_TRUE(m_text->FindText("beta", wxFR_DOWN));
    EXPECT_EQ(m_text->GetSelectionStart(), 6);
    ASSERT_TRUE(m_text->FindText("beta", wxFR_DOWN));
    EXPECT_EQ(m_text->GetSelectionStart(), 17);
    ASSERT_TRUE(m_text->FindText("beta", wxFR_DOWN | wxFR_MATCHCASE | wxFR_WHOLEWORD));
    EXPECT_EQ(m_text->GetSelectionStart(), 6) << "round the end";
    ASSERT_TRUE(m_text->FindText("beta", 0));
    EXPECT_EQ(m_text->GetSelectionStart(), 28) << "upwards, round the beginning";
    EXPECT_FALSE(m_text->FindText("epsilon", wxFR_DOWN));
    EXPECT_EQ(m_text->GetSelectedText(), "beta") << "a failed search keeps the selection";
}

TEST_F(OutputView, SmallBatchIsOneAppendAndFlushLeavesNothing) {
    m_channel->Append(Lines(100));
    ASSERT_TRUE(RunUntil([&] { return m_appends > 0; }));
    EXPECT_EQ(m_appends, 1);
    m_channel->Append(Lines(3, 100));
    m_channel->Append(Lines(40'000, 103));
    m_pump->Flush();
    EXPECT_EQ(Text(), Lines(40'103));
}

// Two threads write a million lines, a fifth of them in one piece, while events and drawing go on: nothing
// is lost or out of order, and no event waits long.
TEST_F(OutputView, MillionLinesLeaveTheWindowResponsive) {
    constexpr int kThreads = 2;
    constexpr int kLinesEach = 500'000;
    constexpr int kBatch = 500;
    constexpr int kPiece = 100'000;
    using Clock = std::chrono::steady_clock;
    m_text->SetFocus();
    std::atomic<bool> writing{true};
    std::vector<std::thread> writers;
    for (int thread = 0; thread < kThreads; ++thread) {
        writers.emplace_back([this, thread] {
            const std::string mark = std::string(1, static_cast<char>('a' + thread)) + " ";
            for (int line = 0; line < kLinesEach;) {
                std::string lines;
                for (const int end = line + (line == 0 ? kPiece : kBatch); line < end; ++line) {
                    lines += mark + std::to_string(line) + " a line as long as lines usually are here\n";
                }
                m_channel->Append(lines);
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
    }
    // An event a millisecond, from another thread; how long until it is served?
    std::vector<double> delays;
    std::thread prober([&] {
        while (writing) {
            CallAfter([&delays, sent = Clock::now()] {
                delays.push_back(std::chrono::duration<double, std::milli>(Clock::now() - sent).count());
            });
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    const auto begin = Clock::now();
    const bool complete = RunUntil([&] { return m_text->GetLineCount() == kThreads * kLinesEach + 1; },
                                   std::chrono::minutes(5));
    const double seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    writing = false;
    prober.join();
    for (std::thread& writer : writers) {
        writer.join();
    }
    ASSERT_TRUE(complete);
    std::sort(delays.begin(), delays.end());
    ASSERT_GT(delays.size(), 100U);
    const double p99 = delays[delays.size() * 99 / 100];
    RecordProperty("seconds", std::to_string(seconds));
    RecordProperty("p99_ms", std::to_string(p99));
    std::printf("[  FIGURES ] %.1f s, %zu events, median %.1f ms, p99 %.1f ms, longest %.1f ms\n", seconds,
                delays.size(), delays[delays.size() / 2], p99, delays.back());
    EXPECT_LT(p99, 50.0);

    int next[kThreads] = {};
    std::string_view rest = m_text->WholeText();
    while (!rest.empty()) {
        const std::size_t end = rest.find('\n');
        ASSERT_NE(end, std::string_view::npos);
        const int thread = rest[0] - 'a';
        ASSERT_TRUE(thread >= 0 && thread < kThreads);
        ASSERT_EQ(std::atoi(rest.data() + 2), next[thread]++);
        rest.remove_prefix(end + 1);
    }

    // Such a document is resized at once.
    const auto resize = Clock::now();
    for (const int width : {700, 1000, 600, 900}) {
        m_frame->SetSize(width, 500);
        m_frame->Update();
        RunUntil([] { return true; });
    }
    const double resizing = std::chrono::duration<double, std::milli>(Clock::now() - resize).count() / 4;
    std::printf("[  FIGURES ] a resize %.1f ms\n", resizing);
    EXPECT_LT(resizing, 200.0);
}

} // namespace
} // namespace vnxtest
