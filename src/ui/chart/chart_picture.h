// The ping chart as a list of shapes, made from a test's pings: what the window draws, and what is saved.
// Uses no windows, so that what stands where can be tested.
//
// Coordinates are those of the window: from the upper left corner, in its pixels. User-interface thread.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "ui/chart/chart_axis.h"
#include "ui/chart/chart_range.h"
#include "ui/chart/ping_history.h"

namespace vnxtest {

enum class Ink { Background, Text, Grid, Reply, Late, Lost };
enum class Align { Left, Centre, Right };

// A filled rectangle.
struct ChartBox {
    double x = 0, y = 0, width = 0, height = 0;
    Ink ink = Ink::Text;
};

struct ChartLine {
    double x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    double width = 1;
    Ink ink = Ink::Text;
};

// Around a point; hollow with a line of its own width.
struct ChartDisc {
    double x = 0, y = 0, radius = 0;
    bool hollow = false;
    Ink ink = Ink::Text;
};

// Filled, standing on its base, around a point; `size` is its height.
struct ChartTriangle {
    double x = 0, y = 0, size = 0;
    Ink ink = Ink::Text;
};

// `x` is where the text begins, its middle or its end; `y` is the top of its line.
struct ChartText {
    double x = 0, y = 0;
    std::wstring text;
    Align align = Align::Left;
    bool bold = false;
};

using ChartShape = std::variant<ChartBox, ChartLine, ChartDisc, ChartTriangle, ChartText>;

// The font of the texts.
struct ChartMetrics {
    double lineHeight = 16;
    std::function<double(const std::wstring& text, bool bold)> widthOf;
};

struct ChartRequest {
    const PingHistory& history;
    const ChartRange& range;
    const ChartMetrics& metrics;
    double width = 0;
    double height = 0;
    bool logarithmic = false;
    std::optional<std::size_t> readOut{}; // the position of a ping that is kept
};

// Where the pings stand.
struct ChartPlot {
    double left = 0, top = 0, width = 0, height = 0;
    double stripTop = 0, stripHeight = 0; // of the losses, above the round trips
    TimeAxis axis;

    double XOf(const ChartRange& range, std::size_t position) const {
        return left + range.PartOf(static_cast<double>(position) + 0.5) * width;
    }
    double YOf(std::int64_t roundTrip) const { return top + (1 - axis.PartOf(roundTrip)) * height; }
    // With more pings than pixels a column of one pixel stands for several.
    bool IsDense(const ChartRange& range) const { return range.Length() > width; }
};

struct ChartPicture {
    std::vector<ChartShape> shapes;
    std::optional<ChartPlot> plot; // nullopt without a test, or without room
};

ChartPicture MakeChartPicture(const ChartRequest& request);

// The ping at a place in the picture: in the strip of the losses a lost one nearby, elsewhere the one whose
// time is the nearest. nullopt beside the plot, and where no ping was sent.
std::optional<std::size_t> PingAt(const ChartPlot& plot, const PingHistory& history, const ChartRange& range,
                                  double x, double y);

} // namespace vnxtest
