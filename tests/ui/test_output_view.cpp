// The parts of the window that can be tested in this process: the text, what is pumped into it, the menus.
#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <thread>

#include <gtest/gtest.h>
#include <wx/app.h>
#include <wx/evtloop.h>
#include <wx/fdrepdlg.h>
#include <wx/frame.h>
#include <wx/timer.h>

#include "core/output_channel.h"
#include "ui/menus.h"
#include "ui/output_pump.h"
#include "ui/output_text.h"

namespace vnxtest {
namespace {

// Whether there is a display; the toolkit is started once.
bool HasDisplay() {
    static const bool has = [] {
        int count = 0;
        wxApp::SetInstance(std::make_unique<wxApp>().release());
        if (std::getenv("DISPLAY") == nullptr || !wxEntryStart(count, static_cast<wxChar**>(nullptr))) {
            return false;
        }
        wxTheApp->SetExitOnFrameDelete(false);
        return wxTheApp->CallOnInit();
    }();
    return has;
}

// Runs the event loop, idle handling included, until `done` says so. False when it did not within a minute.
bool RunUntil(const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    wxGUIEventLoop loop;
    bool reached = false;
    wxTimer timer;
    timer.Bind(wxEVT_TIMER, [&](wxTimerEvent&) {
        reached = done();
        if (reached || std::chrono::steady_clock::now() >= end) {
            loop.Exit();
        }
    });
    timer.Start(2);
    loop.Run();
    return reached;
}

class OutputView : public testing::Test, public ViewPort, public wxEvtHandler {
protected:
    void SetUp() override {
        if (!HasDisplay()) {
            GTEST_SKIP() << "no display: run under Xvfb";
        }
        m_frame = std::make_unique<wxFrame>(nullptr, wxID_ANY, "test", wxDefaultPosition, wxSize(900, 600))
                      .release();
        m_frame->Show();
        m_text = std::make_unique<COutputText>(m_frame).release();
        m_frame->SendSizeEvent();
        m_pump.emplace(m_channel, *m_text, [this] { ++m_appends; });
    }
    void TearDown() override {
        m_pump.reset();
        if (m_frame != nullptr) {
            m_frame->Destroy();
            RunUntil([] { return true; });
        }
    }
    void PostViewMessage(ViewMessage) override {
        CallAfter([this] { m_pump->OnOutputPending(); });
    }
    std::string Text() { return std::string(m_text->WholeText()); }
    // Appends at once.
    void Show(const std::string& lines) {
        m_channel.Append(lines);
        m_pump->Flush();
    }
    void ExpectEndInView() {
        EXPECT_TRUE(m_text->IsAtEnd());
        EXPECT_EQ(m_text->GetFirstVisibleLine() + m_text->LinesOnScreen(), m_text->GetLineCount());
    }

    wxFrame* m_frame = nullptr;
    COutputText* m_text = nullptr;
    OutputChannel m_channel{*this};
    std::optional<OutputPump> m_pump;
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
    ExpectEndInView();

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
    ExpectEndInView();
    EXPECT_EQ(Text(), Lines(1501));
}

TEST_F(OutputView, BatchIsOneAppendAndFlushLeavesNothing) {
    m_channel.Append(Lines(100));
    ASSERT_TRUE(RunUntil([&] { return m_appends > 0; }));
    EXPECT_EQ(m_appends, 1);
    m_channel.Append(Lines(3, 100));
    Show(Lines(40'000, 103));
    EXPECT_EQ(Text(), Lines(40'103));
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

TEST_F(OutputView, SaysThatItIsFullAndGoesOnAfterANewStart) {
    m_pump.reset();
    m_text->Destroy();
    m_text = std::make_unique<COutputText>(m_frame, 100U).release();
    m_text->AppendLines(Lines(1));
    m_text->AppendLines(Lines(3, 1));
    m_text->AppendLines(Lines(1, 4));
    EXPECT_EQ(Text(),
              Lines(2) +
                  "** The report is full, what follows is left out. Save it and start a new one (Ctrl+N).\n");
    m_text->EmptyText();
    m_text->AppendLines(Lines(1));
    EXPECT_EQ(Text(), Lines(1));
}

TEST_F(OutputView, FindGoesRoundAndSelects) {
    Show("alpha beta\ngamma Beta\ndelta betas\n");
    m_text->GotoPos(0);
    const std::array<std::pair<int, int>, 4> steps = {
        {{wxFR_DOWN, 6}, {wxFR_DOWN, 17}, {wxFR_DOWN | wxFR_MATCHCASE | wxFR_WHOLEWORD, 6}, {0, 28}}};
    for (const auto& [flags, found] : steps) {
        ASSERT_TRUE(m_text->FindText("beta", flags));
        EXPECT_EQ(m_text->GetSelectionStart(), found) << "round the end and, upwards, round the beginning";
    }
    EXPECT_FALSE(m_text->FindText("epsilon", wxFR_DOWN));
    EXPECT_EQ(m_text->GetSelectedText(), "beta") << "a failed search keeps the selection";
}

// Two threads write a million lines, a fifth of them in two pieces, while events and drawing go on: nothing
// is lost or out of order, no event waits long, and a line costs little.
class OutputFlood : public OutputView {
protected:
    static constexpr int kThreads = 2;
    static constexpr int kLinesEach = 500'000;
    using Clock = std::chrono::steady_clock;
    static double Since(Clock::time_point begin) {
        return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
    }
    static double ResidentBytes() {
        std::ifstream statm("/proc/self/statm");
        double pages = 0;
        statm >> pages >> pages;
        return pages * 4096;
    }
    void Write(int thread) {
        for (int line = 0; line < kLinesEach;) {
            std::string lines;
            for (const int end = line + (line == 0 ? 100'000 : 500); line < end; ++line) {
                lines += "04:05:06.789 " + std::string(1, static_cast<char>('a' + thread)) +
                         std::to_string(line) + " received from 198.18.0.2: bytes=32 time<1ms TTL=64\n";
            }
            m_channel.Append(lines);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    void CheckText() {
        std::array<int, kThreads> next{};
        std::string_view rest = m_text->WholeText();
        for (std::size_t end = 0; !rest.empty(); rest.remove_prefix(end + 1)) {
            end = rest.find('\n');
            ASSERT_NE(end, std::string_view::npos);
            ASSERT_EQ(std::atoi(rest.data() + 14), next.at(static_cast<std::size_t>(rest[13] - 'a'))++);
        }
    }

    std::atomic<bool> m_writing{true};
    std::vector<double> m_delays;
};

TEST_F(OutputFlood, MillionLinesLeaveTheWindowResponsive) {
    double p99 = 0;
    // Others may be busy on this machine: of three tries one has to do.
    for (int attempt = 0; attempt < 3 && (attempt == 0 || p99 > 50); ++attempt) {
        m_text->EmptyText();
        m_delays.clear();
        const double memoryBefore = ResidentBytes();
        const auto begin = Clock::now();
        std::vector<std::thread> threads;
        for (int thread = 0; thread < kThreads; ++thread) {
            threads.emplace_back([this, thread] { Write(thread); });
        }
        // An event a millisecond, from another thread; how long until it is served?
        m_writing = true;
        threads.emplace_back([this] {
            while (m_writing) {
                CallAfter([this, sent = Clock::now()] { m_delays.push_back(Since(sent)); });
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
        const bool complete = RunUntil([&] { return m_text->GetLineCount() == kThreads * kLinesEach + 1; });
        const double rate = 1000 * kThreads * kLinesEach / Since(begin);
        m_writing = false;
        for (std::thread& thread : threads) {
            thread.join();
        }
        ASSERT_TRUE(complete);
        CheckText();
        const double bytes = (ResidentBytes() - memoryBefore) / (kThreads * kLinesEach);
        std::sort(m_delays.begin(), m_delays.end());
        ASSERT_GT(m_delays.size(), 50U);
        p99 = m_delays[m_delays.size() * 99 / 100];
        const double longest = m_delays.back();
        // Such a document is resized at once.
        const auto resize = Clock::now();
        for (const int width : {700, 1000, 600, 900}) {
            m_frame->SetSize(width, 500);
            m_frame->Update();
            RunUntil([] { return true; });
        }
        const double resizing = Since(resize) / 4;
        std::printf("[  FIGURES ] %.0f lines/s, %.0f bytes a line; %zu events, p99 %.1f ms, longest %.1f ms; "
                    "a resize "
                    "%.1f ms\n",
                    rate, bytes, m_delays.size(), p99, longest, resizing);
        if (std::getenv("VNXTEST_SANITIZE") != nullptr) {
            return;
        }
        EXPECT_GT(rate, 100'000) << "200,000 on a machine of one's own";
        EXPECT_LT(bytes, 250);
        EXPECT_LT(resizing, 100);
    }
    EXPECT_LT(p99, 50);
}

// Every item, with its number as the system sees it: "*" an item with a check mark, "-" a separator.
TEST_F(OutputView, MenusAreComplete) {
    constexpr const char* kExpected = R"(&File
57603 &Save\tCtrl+S|Save the active document
-
57665 E&xit|Quit the application; prompts to save documents
&Edit
57634 &Copy\tCtrl+C|Copy the selection and put it on the Clipboard
-
57642 Select &All\tCtrl+A|Select the entire document
-
57636 &Find...\tCtrl+F|Find the specified text
57640 F&ind Next\tF3|Find the next occurrence of the specified text
&View
32800*Ping &chart|Show or hide the chart of the ping test
&Test
32772 Start "Vantor"...|Start a simulated "Vantor" instance...
32775 Start ping test...|Start a ping test to someone...
32788 Stop ping test|Stop the ping test
32773 Stop "Vantor"|Stop simulated "Vantor" instance
-
32782 Define buffer sizes...|Define buffer sizes...
32780 Define default gateway...|Define default gateway...
-
32778 Re-detect adapters|Scan system for available adapters
32786*Socket-notify mode|Toggle Socket-notify mode
32783*Set debug flags...|Set debug mode flags...
&Help
32789 Netorra &Help|Open Netorra Help File...
57664 &About VNXTest...|Display program information, version number and copyright
)";
    const auto bar = MakeMainMenu();
    wxString found;
    for (std::size_t index = 0; index < bar->GetMenuCount(); ++index) {
        found += bar->GetMenuLabel(index) + "\n";
        for (const wxMenuItem* const item : bar->GetMenu(index)->GetMenuItems()) {
            wxString label = item->GetItemLabel();
            label.Replace("\t", "\\t");
            found += item->IsSeparator()
                         ? wxString("-\n")
                         : wxString::Format("%d%s%s|%s\n", item->GetId() & 0xFFFF,
                                            item->IsCheckable() ? "*" : " ", label, item->GetHelp());
        }
    }
    EXPECT_EQ(found.ToStdString(), kExpected);
}

} // namespace
} // namespace vnxtest
