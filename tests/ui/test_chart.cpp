// What the chart shows, without a window: the part of a test, its axes, its shapes and its words.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <ranges>

#include <gtest/gtest.h>
#include <wx/image.h>
#include <wx/mstream.h>

#include "ui/chart/chart_axis.h"
#include "ui/chart/chart_picture.h"
#include "ui/chart/csv_writer.h"
#include "ui/chart/png_writer.h"
#include "ui/chart/read_out.h"
#include "ui/chart/svg_writer.h"

namespace vnxtest {
namespace {

constexpr std::int64_t kMillisecond = 1'000'000; // nanoseconds

enum class Fate { Reply, Late, Lost };

CPing Ping(Fate fate, std::int64_t roundTrip = 0) {
    CPing ping;
    ping.nReplies = fate == Fate::Lost ? 0 : 1;
    ping.nTimeouts = fate == Fate::Reply ? 0 : 1;
    ping.roundTripNs = roundTrip;
    return ping;
}

// A finished test, all of it in view, 600 x 300 pixels.
struct Chart {
    explicit Chart(std::vector<CPing> pings) {
        history.Begin(static_cast<std::uint32_t>(pings.size()), L"host");
        history.Finish({0, std::move(pings)});
        range.Fit(history.Span(), history.Sent());
    }
    ChartPicture Draw(bool logarithmic = false, std::optional<std::size_t> readOut = {}) const {
        return MakeChartPicture({history, range, metrics, 600, 300, logarithmic, readOut});
    }

    PingHistory history;
    ChartRange range;
    ChartMetrics metrics{
        16, [](const std::wstring& text, bool) { return 8.0 * static_cast<double>(text.size()); }};
};

template <typename Shape>
std::vector<Shape> All(const ChartPicture& picture, Ink ink) {
    std::vector<Shape> found;
    for (const ChartShape& shape : picture.shapes) {
        if (const auto* const it = std::get_if<Shape>(&shape); it != nullptr && it->ink == ink) {
            found.push_back(*it);
        }
    }
    return found;
}

std::vector<std::wstring> Texts(const ChartPicture& picture) {
    std::vector<std::wstring> found;
    for (const ChartShape& shape : picture.shapes) {
        if (const auto* const text = std::get_if<ChartText>(&shape)) {
            found.push_back(text->text);
        }
    }
    return found;
}

TEST(ChartRange, ZoomsWhereThePointerIsAndNeverLeavesTheTest) {
    ChartRange range;
    range.Fit({100, 1000}, 1100);
    range.Zoom(4, 0.25);
    EXPECT_DOUBLE_EQ(range.PositionAt(0.25), 350);
    EXPECT_DOUBLE_EQ(range.Length(), 250);
    range.Pan(-1e9);
    EXPECT_DOUBLE_EQ(range.Begin(), 100);
    range.Pan(1e9);
    EXPECT_DOUBLE_EQ(range.End(), 1100);
    range.Zoom(1e9, 0.5);
    EXPECT_DOUBLE_EQ(range.Length(), ChartRange::kLeast);
    range.Reveal(100);
    EXPECT_DOUBLE_EQ(range.Begin(), 100);
    range.Reveal(106);
    EXPECT_DOUBLE_EQ(range.End(), 107) << "no further than needed";
    range.Zoom(1e-9, 0.1);
    EXPECT_TRUE(range.IsWhole() && range.Begin() == 100 && range.End() == 1100);
}

TEST(ChartRange, GoesAlongWithTheNewestPingOnlyIfThatWasInView) {
    ChartRange range;
    range.Fit({0, 100}, 100);
    range.Fit({0, 200}, 200);
    EXPECT_TRUE(range.IsWhole() && range.End() == 200);
    range.Zoom(10, 1);
    range.Fit({0, 230}, 230);
    EXPECT_DOUBLE_EQ(range.End(), 230);
    range.Pan(-50);
    range.Fit({0, 300}, 300);
    EXPECT_DOUBLE_EQ(range.End(), 180);
    range.Fit({170, 300}, 470);
    EXPECT_DOUBLE_EQ(range.Begin(), 170) << "what was let go cannot be shown";
}

TEST(ChartAxis, HoldsWhatItShowsAndEveryLabelIsExact) {
    for (const bool logarithmic : {false, true}) {
        for (std::int64_t time = 40; time < 100'000 * kMillisecond; time = time * 7 / 3 + 1) {
            for (const std::size_t most : {1U, 3U, 8U}) {
                const TimeAxis axis(time / 9, time, most, logarithmic);
                EXPECT_LE(axis.Marks().size(), most + 1) << time;
                EXPECT_LE(axis.PartOf(time), 1) << time;
                for (const TimeMark& mark : axis.Marks()) {
                    const bool atMost = mark.label.front() == L'\u2264';
                    const double value = std::stod(mark.label.substr(atMost ? 2 : 0)) *
                                         (mark.label.ends_with(L"ms") ? 1e6 : 1e3);
                    EXPECT_NEAR(axis.PartOf(std::llround(value)), mark.part, 1e-6) << time;
                }
            }
        }
    }
    EXPECT_EQ(TimeAxis(0, 0, 4, false).Marks().back().label, L"1 ms");
    EXPECT_EQ(TimeAxis(0, 430'000, 4, false).Marks()[1].label, L"200 \u00B5s");
    // Late replies do not flatten the others on a logarithmic axis.
    EXPECT_GT(TimeAxis(20'000, 900 * kMillisecond, 8, true).PartOf(200'000), 0.2);
    using Numbers = std::vector<std::size_t>;
    EXPECT_EQ(NumberMarks(0, 3, 10), (Numbers{1, 2, 3}));
    EXPECT_EQ(NumberMarks(0, 65'535, 4), (Numbers{1, 20'000, 40'000, 60'000}));
    EXPECT_EQ(NumberMarks(41'000.5, 41'012, 4), (Numbers{41'005, 41'010}));
}

TEST(ChartPicture, ShowsEveryPingAtItsOwnTime) {
    const Chart chart({Ping(Fate::Reply, 2 * kMillisecond), Ping(Fate::Lost),
                       Ping(Fate::Late, 690 * kMillisecond), Ping(Fate::Reply, 4 * kMillisecond)});
    const ChartPicture picture = chart.Draw();
    const ChartPlot& plot = picture.plot.value();
    const auto late = All<ChartTriangle>(picture, Ink::Late);
    ASSERT_EQ(late.size(), 2U) << "one is the legend's";
    EXPECT_DOUBLE_EQ(late[1].y, plot.YOf(690 * kMillisecond));
    EXPECT_GT(late[1].y, plot.top) << "within the axis, not cut off at its top";
    EXPECT_DOUBLE_EQ(late[1].x, plot.left + plot.width * 5 / 8);
    EXPECT_TRUE(All<ChartLine>(picture, Ink::Reply).empty()) << "no line across what is missing";
    const auto lost = All<ChartBox>(picture, Ink::Lost);
    ASSERT_EQ(lost.size(), 2U);
    EXPECT_EQ(lost[1].height, plot.stripHeight);
    // The grid stands where its labels say.
    const auto grid = All<ChartBox>(picture, Ink::Grid);
    for (const TimeMark& mark : plot.axis.Marks()) {
        const double y = std::round(plot.top + (1 - mark.part) * plot.height);
        EXPECT_TRUE(
            std::ranges::any_of(grid, [&](const ChartBox& line) { return line.y == y && line.height == 1; }));
    }
    // Before a test there is a line of text, and nothing else.
    const PingHistory none;
    EXPECT_EQ(Texts(MakeChartPicture({none, chart.range, chart.metrics, 600, 300})),
              (std::vector<std::wstring>{L"Ping chart", L"No ping test yet"}));
    // In the smallest window the figures take two lines, and the pings are still there.
    const ChartPicture lower = MakeChartPicture({chart.history, chart.range, chart.metrics, 300, 72});
    EXPECT_TRUE(lower.plot) << "rather than figures in three lines";
    const ChartPicture least = MakeChartPicture({chart.history, chart.range, chart.metrics, 470, 86});
    EXPECT_TRUE(least.plot && All<ChartTriangle>(least, Ink::Late).size() == 1);
    double below = 0; // where the label above ends
    for (const ChartShape& shape : least.shapes | std::views::reverse) {
        const auto* const label = std::get_if<ChartText>(&shape);
        if (label != nullptr && label->align == Align::Right) {
            EXPECT_GE(label->y, below - 2) << "no label over another";
            below = label->y + chart.metrics.lineHeight;
        }
    }
    for (const double size : {0.0, 10.0, 40.0, 90.0}) {
        MakeChartPicture({chart.history, chart.range, chart.metrics, size, size});
    }
}

TEST(ChartPicture, TellsLossesApartHoweverManyPingsThereAre) {
    std::vector<CPing> pings(65'535, Ping(Fate::Reply, kMillisecond));
    pings[10'000] = Ping(Fate::Lost);
    for (std::size_t index = 40'000; index < 40'400; ++index) {
        pings[index] = Ping(Fate::Lost);
    }
    Chart chart(std::move(pings));
    const ChartPicture picture = chart.Draw();
    const ChartPlot& plot = picture.plot.value();
    auto lost = All<ChartBox>(picture, Ink::Lost);
    lost.erase(lost.begin()); // the legend's
    EXPECT_EQ(lost.front().height, 3) << "one of many";
    const auto full =
        std::ranges::count_if(lost, [&](const ChartBox& it) { return it.height == plot.stripHeight; });
    EXPECT_GE(full, 2) << "all of many";
    // The pointer finds the single one, and what is said of it.
    const double x = plot.XOf(chart.range, 10'000);
    const double strip = plot.stripTop + 2;
    EXPECT_EQ(PingAt(plot, chart.history, chart.range, x + 2, strip), 10'000U);
    EXPECT_NE(PingAt(plot, chart.history, chart.range, x, plot.YOf(kMillisecond)), 10'000U)
        << "beside it in time";
    EXPECT_EQ(PingAt(plot, chart.history, chart.range, plot.left - 1, strip), std::nullopt);
    const auto texts = Texts(chart.Draw(false, 10'000));
    EXPECT_EQ(texts.back().substr(0, 13), L"#10001: lost ");
    // Zoomed in far enough, each has a place of its own.
    for (int step = 0; step < 40; ++step) {
        chart.range.Zoom(1.5, chart.range.PartOf(10'000.5));
    }
    EXPECT_EQ(All<ChartBox>(chart.Draw(), Ink::Lost).back().height, plot.stripHeight);
}

TEST(ChartFiles, AreWellFormedWhateverTheTargetIsCalled) {
    Chart chart({Ping(Fate::Reply, 1'234'567), Ping(Fate::Late, 700 * kMillisecond), Ping(Fate::Lost)});
    const std::string csv = PingsCsv(chart.history);
    EXPECT_TRUE(csv.starts_with("number,sequence,sentAt,state,replies,timeMs\r\n1,0,1970-01-01T"));
    EXPECT_NE(csv.find(",reply,1,1.234567\r\n2,0,"), std::string::npos) << csv;
    EXPECT_TRUE(csv.ends_with(",lost,0,\r\n")) << csv;
    chart.history.Begin(1, L"<a&b>\u0001\u00E4");
    chart.history.Finish({0, {Ping(Fate::Late, 1)}});
    const auto ink = [](Ink) { return std::string("#123456"); };
    const std::string svg = ChartSvg(chart.Draw(), {600, 300, 16, ink});
    EXPECT_NE(svg.find(" font-weight=\"bold\">Ping &lt;a&amp;b&gt; \xC3\xA4</text>"), std::string::npos)
        << svg;
    EXPECT_NE(svg.find("<polygon points="), std::string::npos);
    EXPECT_TRUE(svg.ends_with("</svg>\n"));
}

TEST(ChartFiles, APictureIsReadBackAsItWas) {
    wxImage image(37, 5);
    for (int x = 0; x < 37; ++x) {
        image.SetRGB(x, x % 5, static_cast<unsigned char>(7 * x), 255, 1);
    }
    const std::string bytes = PngOf(image);
    wxMemoryInputStream stream(bytes.data(), bytes.size());
    if (wxImage::FindHandler(wxBITMAP_TYPE_PNG) == nullptr) {
        GTEST_SKIP() << "this toolkit cannot read one";
    }
    const wxImage read(stream, wxBITMAP_TYPE_PNG);
    ASSERT_TRUE(read.IsOk() && read.GetSize() == image.GetSize());
    EXPECT_EQ(std::memcmp(read.GetData(), image.GetData(), 3 * 37 * 5), 0);
}

TEST(ReadOut, SaysNumberTimeAndState) {
    CPing twice = Ping(Fate::Late, 812 * kMillisecond + 340'000);
    twice.nReplies = 2;
    const Chart chart({Ping(Fate::Reply, 250), twice, Ping(Fate::Lost)});
    EXPECT_EQ(ReadOut(chart.history, 0), L"#1: reply after 0.25 \u00B5s");
    EXPECT_EQ(ReadOut(chart.history, 1), L"#2: late reply after 812.34 ms, 2 replies");
    EXPECT_EQ(ReadOut(chart.history, 2), L"#3: lost");
    EXPECT_EQ(
        JoinTexts(ChartFigures(chart.history)),
        L"Sent 3, Received 2, Lost 1 (33%), Late 1, Minimum 0.25 \u00B5s, Maximum 812.34 ms, Average 406.17 ms");
}

} // namespace
} // namespace vnxtest
