#include "ui/chart/chart_picture.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "ui/chart/read_out.h"
#include "wrenlib/format.h"

namespace vnxtest {

namespace {

constexpr double kLeastPlotWidth = 20;
constexpr double kFewestPlotLines = 2; // lines of text in whose place the pings can be shown

// Draws one picture from its parts.
class Drawing {
public:
    explicit Drawing(const ChartRequest& request)
        : m_request(request), m_history(request.history), m_range(request.range), m_metrics(request.metrics),
          m_line(request.metrics.lineHeight), m_gap(std::max(4.0, std::floor(m_line / 2))),
          m_mark(std::max(4.0, std::floor(m_line / 3))) {}

    ChartPicture Make();

private:
    void Text(double x, double y, std::wstring text, Align align = Align::Left, bool bold = false) {
        m_picture.shapes.emplace_back(ChartText{x, y, std::move(text), align, bold});
    }
    template <typename Shape>
    void Add(Shape shape) {
        m_picture.shapes.emplace_back(std::move(shape));
    }
    double WidthOf(const std::wstring& text, bool bold = false) const {
        return m_metrics.widthOf(text, bold);
    }
    double Right() const { return m_request.width - m_gap; }

    double DrawHeader();
    void DrawLegend(double y);
    TimeAxis MakeAxis(double height) const;
    std::optional<ChartPlot> LayOut(double top, double bottom) const;
    void DrawGrid(const ChartPlot& plot, bool numbers);
    void DrawEach(const ChartPlot& plot);
    void DrawColumns(const ChartPlot& plot);
    void DrawLateMark(double x, double y) { Add(ChartTriangle{x, y, m_mark * 1.2, Ink::Late}); }
    void DrawReadOut(const ChartPlot& plot, std::size_t position);
    // The positions in view that were sent: the first and the one behind the last.
    std::pair<std::size_t, std::size_t> InView() const;

    const ChartRequest& m_request;
    const PingHistory& m_history;
    const ChartRange& m_range;
    const ChartMetrics& m_metrics;
    double m_line;
    double m_gap;
    double m_mark; // the size of a ping's mark
    ChartPicture m_picture;
};

std::pair<std::size_t, std::size_t> Drawing::InView() const {
    const auto begin = std::max(static_cast<std::size_t>(std::floor(m_range.Begin())), m_history.First());
    const auto end = std::min(static_cast<std::size_t>(std::ceil(m_range.End())), m_history.Sent());
    return {std::min(begin, end), end};
}

ChartPicture Drawing::Make() {
    double top = m_gap + DrawHeader();
    if (!m_history.HasTest()) {
        return std::move(m_picture);
    }
    double bottom = m_request.height - m_gap;
    const double lines = (bottom - top) / m_line;
    if (lines >= 7) {
        bottom -= m_line;
        DrawLegend(bottom);
    }
    const bool numbers = lines >= 4;
    if (numbers) {
        bottom -= m_line + m_gap / 2;
    }
    m_picture.plot = LayOut(top, bottom);
    if (m_picture.plot) {
        const ChartPlot& plot = *m_picture.plot;
        DrawGrid(plot, numbers);
        plot.IsDense(m_range) ? DrawColumns(plot) : DrawEach(plot);
        if (m_request.readOut) {
            DrawReadOut(plot, *m_request.readOut);
        }
    }
    return std::move(m_picture);
}

// The title and the figures, wrapped. Returns the height of their lines. In a low chart the last figures are
// left out rather than the pings.
double Drawing::DrawHeader() {
    const double most = std::floor((m_request.height - 2 * m_gap) / m_line - kFewestPlotLines);
    const std::wstring title =
        m_history.HasTest() ? L"Ping " + m_history.Target() : std::wstring(L"Ping chart");
    Text(m_gap, m_gap, title, Align::Left, true);
    double x = m_gap + WidthOf(title, true) + m_line;
    double lines = 1;
    for (const std::wstring& figure : ChartFigures(m_history)) {
        const double width = WidthOf(figure);
        if (x + width > Right() && x > m_gap) {
            if (m_history.HasTest() && lines >= most) {
                break;
            }
            x = m_gap;
            ++lines;
        }
        Text(x, m_gap + (lines - 1) * m_line, figure);
        x += width + m_line;
    }
    return lines * m_line;
}

// Different shapes, so that they differ without colours.
void Drawing::DrawLegend(double y) {
    constexpr std::array kTexts = {L"Reply", L"Late reply", L"Lost"};
    double width = 0;
    for (const wchar_t* const text : kTexts) {
        width += 2 * m_line + WidthOf(text);
    }
    double x = std::max(m_gap, (m_request.width - width) / 2);
    const double middle = y + m_line / 2;
    Add(ChartDisc{x + m_line / 2, middle, m_mark / 2, false, Ink::Reply});
    for (const wchar_t* const text : kTexts) {
        Text(x + m_line, y, text);
        x += 2 * m_line + WidthOf(text);
        if (text == kTexts[0]) {
            DrawLateMark(x + m_line / 2, middle);
        } else if (text == kTexts[1]) {
            Add(ChartBox{x + m_line / 2, y + m_line / 4, std::max(2.0, m_mark / 2), m_line / 2, Ink::Lost});
        }
    }
}

// It covers all round trips in view, those of late replies as well.
TimeAxis Drawing::MakeAxis(double height) const {
    RoundTrips all;
    const auto [begin, end] = InView();
    for (std::size_t position = begin; position < end; ++position) {
        if (const CPing& ping = m_history.At(position); ping.nReplies != 0) {
            all.Add(ping.roundTripNs);
        }
    }
    return {all.minimum, all.maximum, static_cast<std::size_t>(std::max(1.0, height / (1.6 * m_line))),
            m_request.logarithmic};
}

std::optional<ChartPlot> Drawing::LayOut(double top, double bottom) const {
    const bool tight = bottom - top < 5 * m_line; // of a small window: every pixel to the pings
    const double strip = std::floor(m_line * (tight ? 0.4 : 0.9));
    const double gap = tight ? 2 : m_gap;
    const double plotTop = std::floor(top + m_gap / 2 + strip + gap);
    const double height = std::floor(bottom) - plotTop;
    if (height < m_line) {
        return std::nullopt;
    }
    TimeAxis axis = MakeAxis(height);
    double labels = WidthOf(L"Lost");
    for (const TimeMark& mark : axis.Marks()) {
        labels = std::max(labels, WidthOf(mark.label));
    }
    const double left = std::ceil(m_gap + labels + m_gap / 2);
    const double width = std::floor(Right() - left);
    if (width < kLeastPlotWidth) {
        return std::nullopt;
    }
    return ChartPlot{left, plotTop, width, height, plotTop - strip - gap, strip, std::move(axis)};
}

void Drawing::DrawGrid(const ChartPlot& plot, bool numbers) {
    const double labelsEnd = plot.left - m_gap / 2;
    const double lost = plot.stripTop + (plot.stripHeight - m_line) / 2;
    for (const TimeMark& mark : plot.axis.Marks()) {
        const double y = std::round(plot.top + (1 - mark.part) * plot.height);
        Add(ChartBox{plot.left, y, plot.width, 1, Ink::Grid});
        // Not over the strip's, which is near in a low chart.
        Text(labelsEnd, std::max(y - std::floor(m_line / 2), lost + m_line), mark.label, Align::Right);
    }
    Text(labelsEnd, lost, L"Lost", Align::Right);
    Add(ChartBox{plot.left, plot.stripTop + plot.stripHeight, plot.width, 1, Ink::Grid});
    if (!numbers) {
        return;
    }
    const auto most = static_cast<std::size_t>(plot.width / (2 * WidthOf(L"#65535")));
    double free = 0; // where the next label may begin
    for (const std::size_t number :
         NumberMarks(m_range.Begin(), m_range.End(), std::max<std::size_t>(most, 1))) {
        const double x = std::floor(plot.XOf(m_range, number - 1));
        const std::wstring label = Sprintf(L"#%u", number);
        const double width = WidthOf(label);
        const double at = std::min(std::max(x - width / 2, m_gap), Right() - width);
        Add(ChartBox{x, plot.top, 1, plot.height + m_gap / 2, Ink::Grid});
        if (at >= free) {
            Text(at, plot.top + plot.height + m_gap / 2, label);
            free = at + width + m_gap;
        }
    }
}

// Every ping has a place of its own: a line from answer to answer, broken where one is missing.
void Drawing::DrawEach(const ChartPlot& plot) {
    const double spacing = plot.width / m_range.Length();
    const bool roomy = spacing >= m_mark;
    const auto [begin, end] = InView();
    // The answer before, if it is joined with the next.
    bool isJoined = false;
    double previousX = 0;
    double previousY = 0;
    std::vector<ChartShape> marks; // above the lines
    for (std::size_t position = begin; position < end; ++position) {
        const double x = plot.XOf(m_range, position);
        const double y = plot.YOf(m_history.At(position).roundTripNs);
        const PingState state = m_history.StateAt(position);
        if (x < plot.left || x > plot.left + plot.width || state == PingState::Waiting) {
            continue;
        }
        if (state == PingState::Lost) {
            const double width = roomy ? m_mark : std::max(1.0, std::floor(spacing));
            Add(ChartBox{std::floor(x - width / 2), plot.stripTop, width, plot.stripHeight, Ink::Lost});
        } else if (state == PingState::LateReply) {
            marks.emplace_back(ChartTriangle{x, y, m_mark * 1.2, Ink::Late});
        } else {
            if (isJoined) {
                Add(ChartLine{previousX, previousY, x, y, 1, Ink::Reply});
            }
            if (roomy || !isJoined) {
                marks.emplace_back(ChartDisc{x, y, roomy ? m_mark / 2 : 1, false, Ink::Reply});
            }
        }
        isJoined = state == PingState::Reply;
        previousX = x;
        previousY = y;
    }
    std::ranges::move(marks, std::back_inserter(m_picture.shapes));
}

// A column of one pixel stands for several pings: a bar from the shortest to the longest round trip, and one
// in the strip, the higher the more of them were lost, against the column with the most. No loss is too small
// to be seen.
void Drawing::DrawColumns(const ChartPlot& plot) {
    const auto columns = m_history.Columns(m_range, static_cast<std::size_t>(plot.width));
    const auto bar = [&](double x, const RoundTrips& times, Ink ink) {
        const double high = std::floor(plot.YOf(times.maximum));
        Add(ChartBox{x, high, 1, std::floor(plot.YOf(times.minimum)) - high + 1, ink});
    };
    const std::uint32_t mostLost = std::ranges::max(columns, {}, &PingColumn::lost).lost;
    double x = plot.left;
    for (const PingColumn& column : columns) {
        if (column.inTime.count != 0) {
            bar(x, column.inTime, Ink::Reply);
        }
        if (column.lost != 0) {
            const double height = std::max(3.0, std::round(plot.stripHeight * column.lost / mostLost));
            Add(ChartBox{x, plot.stripTop + plot.stripHeight - height, 1, height, Ink::Lost});
        }
        ++x;
    }
    x = plot.left;
    double marked = 0; // marks that cover each other say nothing
    for (const PingColumn& column : columns) {
        if (column.late.count != 0) {
            bar(x, column.late, Ink::Late);
            if (x - marked >= 2 * m_mark) {
                DrawLateMark(x + 0.5, plot.YOf(column.late.maximum));
                marked = x;
            }
        }
        ++x;
    }
}

void Drawing::DrawReadOut(const ChartPlot& plot, std::size_t position) {
    const double x = plot.XOf(m_range, position);
    if (position >= m_history.Sent() || x < plot.left || x > plot.left + plot.width) {
        return;
    }
    const CPing& ping = m_history.At(position);
    const double y = ping.nReplies != 0 ? plot.YOf(ping.roundTripNs) : plot.stripTop + plot.stripHeight / 2;
    Add(ChartBox{std::floor(x), plot.stripTop, 1, plot.top + plot.height - plot.stripTop, Ink::Text});
    Add(ChartDisc{x, y, m_mark, true, Ink::Text});
    std::wstring text = ReadOut(m_history, position);
    if (plot.IsDense(m_range)) {
        const auto columns = m_history.Columns(m_range, static_cast<std::size_t>(plot.width));
        const PingColumn& column =
            columns[std::min(static_cast<std::size_t>(x - plot.left), columns.size() - 1)];
        text += Sprintf(L" (%u pings here, %u lost)", column.sent, column.lost);
    }
    const double width = WidthOf(text) + m_line;
    const double height = std::floor(m_line * 1.4);
    // Beside the line, on the side that has room, and not over the ping itself.
    const double left = x + m_line + width <= Right() ? x + m_line : std::max(m_gap, x - m_line - width);
    const double above = plot.top + plot.height - height;
    const double box = std::floor(std::min(std::max(y - height / 2, plot.stripTop), above));
    Add(ChartBox{std::floor(left) - 1, box - 1, width + 2, height + 2, Ink::Text});
    Add(ChartBox{std::floor(left), box, width, height, Ink::Background});
    Text(std::floor(left) + m_line / 2, box + (height - m_line) / 2, std::move(text));
}

} // namespace

ChartPicture MakeChartPicture(const ChartRequest& request) {
    return Drawing(request).Make();
}

std::optional<std::size_t> PingAt(const ChartPlot& plot, const PingHistory& history, const ChartRange& range,
                                  double x, double y) {
    constexpr double kNear = 4; // pixels to both sides in which a lost ping is found
    if (x < plot.left || x >= plot.left + plot.width || y < plot.stripTop || y > plot.top + plot.height) {
        return std::nullopt;
    }
    const bool inStrip = y < plot.stripTop + plot.stripHeight;
    const double reach = inStrip ? kNear : 0;
    const auto positionAt = [&](double at) {
        const double position = range.PositionAt((at - plot.left) / plot.width);
        return static_cast<std::size_t>(std::max(position, static_cast<double>(history.First())));
    };
    const double column = std::floor(x);
    std::optional<std::size_t> nearest;
    double distance = 0;
    for (std::size_t position = positionAt(column - reach);
         position <= positionAt(column + reach + 1 - 1e-6) && position < history.Sent(); ++position) {
        const CPing& ping = history.At(position);
        const PingState state = history.StateAt(position);
        const double place =
            state == PingState::Lost || ping.nReplies == 0 ? plot.stripTop : plot.YOf(ping.roundTripNs);
        double away = inStrip ? std::abs(plot.XOf(range, position) - x) : std::abs(place - y);
        if (inStrip && state != PingState::Lost) {
            away += 2 * kNear + plot.width / range.Length(); // only if none is lost nearby
        }
        if (!nearest || away < distance) {
            nearest = position;
            distance = away;
        }
    }
    return nearest;
}

} // namespace vnxtest
