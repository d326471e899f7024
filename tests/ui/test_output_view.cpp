// The parts of the window that can be tested in this process: the text, what is pumped into it, the menus.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <sstream>
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
        auto* const app = std::make_unique<wxApp>().release();
        wxApp::SetInstance(app);
        app->SetExitOnFrameDelete(false);
        return std::getenv("DISPLAY") != nullptr && wxEntryStart(count, static_cast<wxChar**>(nullptr)) &&
               app->CallOnInit();
    }();
    return has;
}

// Runs the event loop, idle handling included, until `done` says so. False when it did not within a minute.
bool RunUntil(const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    wxGUIEventLoop loop;
    wxTimer timer;
    timer.Bind(wxEVT_TIMER, [&](wxTimerEvent&) {
        if (done() || std::chrono::steady_clock::now() >= end) {
            loop.Exit();
        }
    });
    timer.Start(2);
    loop.Run();
    return done();
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
        m_pump.emplace(m_channel, *m_text, [] {});
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
    EXPECT_EQ(m_text->GetSelectedText().length(), 40U);
    EXPECT_EQ(m_text->GetSelectionStart(), 100);
    EXPECT_EQ(m_text->GetFirstVisibleLine(), 3);
    // So does one who has all selected: his selection ends where it ended.
    m_text->SelectAll();
    const int end = m_text->GetLength();
    Show(Lines(1, 1000));
    EXPECT_EQ(m_text->GetSelectionEnd(), end);

    m_text->GotoPos(m_text->GetLength());
    m_channel.Append(Lines(3, 1001));
    Show(Lines(40'000, 1004)); // more than one batch
    ExpectEndInView();
    EXPECT_EQ(Text(), Lines(41'004));
}

TEST_F(OutputView, KeepsTextAsItIsAndRefusesTyping) {
    const std::string text = "caf\xC3\xA9 \xE2\x86\x92 \xF0\x9F\x98\x80\ttab\n\nend\n";
    Show(text);
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
    EXPECT_EQ(Text(), Lines(2) +
                          "** The report is full, what follows is left out. Save it and start a new one "
                          "(Ctrl+N).\n");
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

// How long such a flood holds the window up is measured by bench/window_flood.cpp.
TEST_F(OutputView, FloodFromTwoThreadsIsWholeAndInOrder) {
    constexpr int kLinesEach = 50'000;
    std::vector<std::thread> threads;
    for (const char name : {'a', 'b'}) {
        threads.emplace_back([this, name] {
            for (int line = 0; line < kLinesEach;) {
                std::string lines;
                for (const int end = line + 12'500; line < end; ++line) {
                    lines += name + std::to_string(line) + '\n';
                }
                m_channel.Append(lines);
            }
        });
    }
    EXPECT_TRUE(RunUntil([&] { return m_text->GetLineCount() == 2 * kLinesEach + 1; }));
    std::for_each(threads.begin(), threads.end(), [](std::thread& thread) { thread.join(); });
    std::array<int, 2> next{};
    std::istringstream text(Text());
    for (std::string line; std::getline(text, line);) {
        ASSERT_EQ(std::atoi(line.c_str() + 1), next.at(static_cast<std::size_t>(line[0] - 'a'))++);
    }
}

// Every item with its number as the system sees it, "*" when it has a check mark; each explains itself.
TEST_F(OutputView, MenusAreComplete) {
    constexpr const char* kExpected =
        R"([&File]57603 &Save\tCtrl+S||57665 E&xit|
[&Edit]57634 &Copy\tCtrl+C||57642 Select &All\tCtrl+A||57636 &Find...\tCtrl+F|57640 F&ind Next\tF3|
[&View]32800*Ping &chart|
[&Test]32772 Start "Vantor"...|32775 Start ping test...|32788 Stop ping test|32773 Stop "Vantor"||)"
        R"(32782 Define buffer sizes...|32780 Define default gateway...||)"
        R"(32778 Re-detect adapters|32786*Socket-notify mode|32783*Set debug flags...|
[&Help]32789 Netorra &Help|57664 &About VNXTest...|
)";
    const auto bar = MakeMainMenu();
    wxString found;
    for (std::size_t index = 0; index < bar->GetMenuCount(); ++index) {
        found += "[" + bar->GetMenuLabel(index) + "]";
        for (const wxMenuItem* const item : bar->GetMenu(index)->GetMenuItems()) {
            if (!item->IsSeparator()) {
                found << (item->GetId() & 0xFFFF) << (item->IsCheckable() ? "*" : " ")
                      << item->GetItemLabel();
                EXPECT_FALSE(item->GetHelp().empty()) << item->GetItemLabel();
            }
            found += "|";
        }
        found += "\n";
    }
    found.Replace("\t", "\\t");
    EXPECT_EQ(found.ToStdString(), kExpected);
}

} // namespace
} // namespace vnxtest
