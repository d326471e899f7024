// The text of the window and what is pumped into it, in this process.
#include <array>

#include <gtest/gtest.h>
#include <wx/app.h>
#include <wx/fdrepdlg.h>
#include <wx/frame.h>

#include "ui/text/output_pump.h"
#include "ui/text/output_text.h"

namespace vnxtest {
namespace {

class OutputView : public testing::Test, public ViewPort {
protected:
    void PostViewMessage(ViewMessage) override {}
    void SetUp() override {
        m_frame = std::make_unique<wxFrame>(nullptr, wxID_ANY, "test", wxDefaultPosition, wxSize(900, 600));
        m_frame->Show();
        m_text = std::make_unique<COutputText>(m_frame.get()).release();
        m_frame->SendSizeEvent();
        wxTheApp->ProcessPendingEvents();
    }
    std::string Text() { return std::string(m_text->WholeText()); }
    void ExpectEndInView() {
        EXPECT_TRUE(m_text->IsAtEnd());
        EXPECT_EQ(m_text->GetFirstVisibleLine() + m_text->LinesOnScreen(), m_text->GetLineCount());
    }

    std::unique_ptr<wxFrame> m_frame;
    COutputText* m_text = nullptr; // the frame's
};

std::string Lines(int count, int from = 0) {
    std::string lines;
    for (int index = 0; index < count; ++index) {
        lines += "04:05:06.789  Line number " + std::to_string(from + index) + " of the report\n";
    }
    return lines;
}

TEST_F(OutputView, FollowsTheEndOnlyWhenTheCaretIsThere) {
    m_text->AppendLines(Lines(500));
    ExpectEndInView();

    // A reader with a selection further up keeps it, and the part of the text he looks at.
    m_text->SetSelection(100, 140);
    m_text->SetFirstVisibleLine(3);
    m_text->AppendLines(Lines(500, 500));
    EXPECT_EQ(m_text->GetSelectedText().length(), 40U);
    EXPECT_EQ(m_text->GetSelectionStart(), 100);
    EXPECT_EQ(m_text->GetFirstVisibleLine(), 3);
    // So does one who has all selected: his selection ends where it ended.
    m_text->SelectAll();
    const int end = m_text->GetLength();
    m_text->AppendLines(Lines(1, 1000));
    EXPECT_EQ(m_text->GetSelectionEnd(), end);

    m_text->GotoPos(m_text->GetLength());
    m_text->AppendLines(Lines(40'003, 1001));
    ExpectEndInView();
    EXPECT_EQ(Text(), Lines(41'004));
}

// As the wheel and the bar do it: the visible part moves, the caret stays.
TEST_F(OutputView, ScrollingUpPausesFollowingUntilTheUserIsAtTheEndAgain) {
    bool below = false;
    m_text->WhenNewLinesBelow([&below](bool now) { below = now; });
    m_text->AppendLines(Lines(500));
    wxTheApp->ProcessPendingEvents(); // it has got a scroll bar, and with it another size
    m_text->ScrollLines(-3);
    const int top = m_text->GetFirstVisibleLine();
    EXPECT_FALSE(below) << "nothing is new";
    m_text->AppendLines(Lines(1, 500));
    EXPECT_EQ(m_text->GetFirstVisibleLine(), top);
    EXPECT_TRUE(below);
    m_text->FollowEnd();
    EXPECT_FALSE(below);
    m_text->AppendLines(Lines(1, 501));
    ExpectEndInView();

    m_text->ScrollLines(-3);
    m_text->AppendLines(Lines(1, 502));
    m_text->ScrollLines(4);
    m_text->AppendLines(Lines(1, 503));
    ExpectEndInView();
    // A selection is kept, and so is the place of a caret that was put where the end is seen.
    m_text->SetSelection(100, 140);
    m_text->ScrollToLine(1000);
    m_text->AppendLines(Lines(1, 504));
    EXPECT_EQ(m_text->GetSelectionStart(), 100);
    EXPECT_TRUE(below);
}

TEST_F(OutputView, FollowsThroughNewSizesOfTheWindowAndOfItsLetters) {
    m_text->AppendLines(Lines(500));
    for (const int height : {300, 700}) {
        const int before = m_text->GetSize().y;
        m_frame->SetSize(900, height);
        for (int turn = 0; turn < 10'000 && m_text->GetSize().y == before; ++turn) {
            wxMilliSleep(1);
            wxTheApp->Yield();
        }
        wxTheApp->ProcessPendingEvents();
        ExpectEndInView();
    }
    m_text->ZoomIn();
    wxTheApp->ProcessPendingEvents();
    m_text->AppendLines(Lines(1, 500));
    ExpectEndInView();
    // Who scrolls up before the text has found its place is left there.
    m_text->ZoomIn();
    m_text->ScrollLines(-3);
    const int top = m_text->GetFirstVisibleLine();
    wxTheApp->ProcessPendingEvents();
    m_text->AppendLines(Lines(1, 501));
    EXPECT_EQ(m_text->GetFirstVisibleLine(), top);
}

// How long a flood holds the window up is measured by bench/window_flood.cpp.
TEST_F(OutputView, AFloodIsShownInSlicesWholeAndInOrder) {
    int appends = 0;
    OutputChannel channel(*this);
    OutputPump pump(channel, *m_text, [&appends] { ++appends; });
    channel.Append(Lines(40'000));
    pump.OnOutputPending();
    wxTheApp->ProcessIdle();
    channel.Append(Lines(3, 40'000)); // comes while there is a backlog
    pump.OnOutputPending();
    while (wxTheApp->ProcessIdle()) {
    }
    EXPECT_GT(appends, 10);
    EXPECT_EQ(Text(), Lines(40'003));
}

TEST_F(OutputView, KeepsTextAsItIsAndRefusesTyping) {
    const std::string text = "caf\xC3\xA9 \xE2\x86\x92 \xF0\x9F\x98\x80\ttab\n\nend\n";
    m_text->AppendLines(text);
    m_text->WriteText("x");
    m_text->Cut();
    m_text->Undo();
    EXPECT_EQ(Text(), text);
    EXPECT_FALSE(m_text->CanUndo());
}

TEST_F(OutputView, FindGoesRoundAndSelects) {
    m_text->AppendLines("alpha beta\ngamma Beta\ndelta betas\n");
    m_text->GotoPos(0);
    const std::array<std::tuple<int, int, COutputText::Found>, 4> steps = {
        {{wxFR_DOWN, 6, COutputText::Found::Ahead},
         {wxFR_DOWN, 17, COutputText::Found::Ahead},
         {wxFR_DOWN | wxFR_MATCHCASE | wxFR_WHOLEWORD, 6, COutputText::Found::Wrapped},
         {0, 28, COutputText::Found::Wrapped}}};
    using enum COutputText::Found;
    for (const auto& [flags, found, result] : steps) {
        ASSERT_EQ(m_text->FindText("beta", flags), result);
        EXPECT_EQ(m_text->GetSelectionStart(), found) << "round the end and, upwards, round the beginning";
    }
    EXPECT_EQ(m_text->FindText("epsilon", wxFR_DOWN), Nothing);
    EXPECT_EQ(m_text->GetSelectedText(), "beta") << "a failed search keeps the selection";

    // What stands around a match is seen.
    m_text->AppendLines(Lines(500));
    for (const int flags : {int{wxFR_DOWN}, int{wxFR_DOWN}, 0, 0}) {
        m_text->FindText("00 of", flags);
        const int line = m_text->GetCurrentLine() - m_text->GetFirstVisibleLine();
        EXPECT_GE(line, m_text->LinesOnScreen() / 4);
        EXPECT_LT(line, m_text->LinesOnScreen() * 3 / 4);
    }
}

} // namespace
} // namespace vnxtest
