#include "ui/chart/ping_chart.h"

#include <algorithm>
#include <array>

#include <wx/dcbuffer.h>
#include <wx/dcgraph.h>
#include <wx/settings.h>

#include "widgets/accessible_name.h"

namespace vnxtest {

struct CPingChart::Palette {
    wxColour background, text, faint, reply, late, timeout;

    Palette() {
        const bool dark = wxSystemSettings::GetAppearance().IsUsingDarkBackground();
        background = wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOW);
        text = wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOWTEXT);
        const auto mix = [](unsigned char from, unsigned char to) {
            return static_cast<unsigned char>((3 * from + to) / 4);
        };
        faint = wxColour(mix(background.Red(), text.Red()), mix(background.Green(), text.Green()),
                         mix(background.Blue(), text.Blue()));
        reply = dark ? wxColour(0x6C, 0xB4, 0xFF) : wxColour(0x1B, 0x5F, 0xB4);
        late = dark ? wxColour(0xFF, 0xC1, 0x4D) : wxColour(0xB3, 0x6B, 0x00);
        timeout = dark ? wxColour(0xFF, 0x8A, 0x80) : wxColour(0xC6, 0x28, 0x28);
    }
};

namespace {

// Different shapes, so that they differ without colours.
void DrawReplyMark(wxDC& dc, const wxColour& colour, wxPoint at, int size) {
    dc.SetPen(wxPen(colour));
    dc.SetBrush(wxBrush(colour));
    dc.DrawCircle(at, std::max(1, size / 2));
}

void DrawLateMark(wxDC& dc, const wxColour& colour, wxPoint at, int size) {
    dc.SetPen(wxPen(colour));
    dc.SetBrush(wxBrush(colour));
    const std::array points = {wxPoint(at.x, at.y - size * 2 / 3),
                               wxPoint(at.x - size * 2 / 3, at.y + size / 2),
                               wxPoint(at.x + size * 2 / 3, at.y + size / 2)};
    dc.DrawPolygon(static_cast<int>(points.size()), points.data());
}

void DrawTimeoutMark(wxDC& dc, const wxColour& colour, wxPoint at, int size) {
    dc.SetPen(wxPen(colour, std::max(1, size / 4)));
    const int half = size / 2;
    dc.DrawLine(at.x - half, at.y - half, at.x + half + 1, at.y + half + 1);
    dc.DrawLine(at.x - half, at.y + half, at.x + half + 1, at.y - half - 1);
}

int HeightOf(std::int64_t roundTrip, const wxRect& plot, std::int64_t top) {
    const double part = std::min(1.0, static_cast<double>(roundTrip) / static_cast<double>(top));
    return plot.GetBottom() - static_cast<int>(part * (plot.height - 1));
}

constexpr int kMostDivisions = 4;
constexpr std::int64_t kMicrosecond = 1'000; // nanoseconds, as are the next
constexpr std::int64_t kMillisecond = 1'000'000;
constexpr std::int64_t kEmptyTop = kMillisecond; // of an axis without a reply

} // namespace

wxString DurationText(double nanoseconds) {
    const bool micro = nanoseconds < kMillisecond && nanoseconds > 0;
    const auto unit = static_cast<double>(micro ? kMicrosecond : kMillisecond);
    wxString text = wxString::FromCDouble(nanoseconds / unit, 2);
    while (text.EndsWith("0")) {
        text.RemoveLast();
    }
    text.EndsWith(".", &text);
    return text + (micro ? L" \u00B5s" : L" ms");
}

std::int64_t RoundAxis(std::int64_t nanoseconds) {
    constexpr std::array<std::int64_t, 3> kSteps = {1, 2, 5};
    for (std::int64_t decade = kMicrosecond;; decade *= 10) {
        for (const std::int64_t step : kSteps) {
            if (step * decade >= nanoseconds) {
                return step * decade;
            }
        }
    }
}

CPingChart::CPingChart(wxWindow* parent, const PingHistory& history)
    : wxWindow(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxFULL_REPAINT_ON_RESIZE | wxBORDER_NONE),
      m_history(history) {
    SetName("Ping chart");
    SetAccessibleName(*this, "Ping chart");
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    Bind(wxEVT_PAINT, &CPingChart::OnPaint, this);
    // The pane takes the focus for the pane keys and for help only.
    Bind(wxEVT_SET_FOCUS, [this](wxFocusEvent& event) {
        Refresh();
        event.Skip();
    });
    Bind(wxEVT_KILL_FOCUS, [this](wxFocusEvent& event) {
        Refresh();
        event.Skip();
    });
}

wxSize CPingChart::DoGetBestClientSize() const {
    return wxSize(60 * GetCharWidth(), 10 * GetCharHeight());
}

void CPingChart::ShowChange() {
    SetAccessibleName(*this, "Ping chart: " + Figures());
    Refresh();
}

std::vector<wxString> CPingChart::FigureList() const {
    if (!m_history.HasTest()) {
        return {"No ping test yet"};
    }
    const PingSummary& summary = m_history.Summary();
    std::vector<wxString> list = {wxString::Format("Sent %u", summary.sent),
                                  wxString::Format("Received %u", summary.received),
                                  wxString::Format("Loss %.4g%%", summary.Loss())};
    if (summary.received != 0) {
        list.push_back("Minimum " + DurationText(static_cast<double>(summary.minimum)));
        list.push_back("Average " + DurationText(static_cast<double>(summary.average)));
        list.push_back("Maximum " + DurationText(static_cast<double>(summary.maximum)));
    }
    return list;
}

wxString CPingChart::Figures() const {
    wxString line;
    for (const wxString& figure : FigureList()) {
        line += (line.empty() ? "" : ", ") + figure;
    }
    return line;
}

void CPingChart::OnPaint(wxPaintEvent&) {
    wxAutoBufferedPaintDC paintDc(this);
    const Palette palette;
    paintDc.SetBackground(wxBrush(palette.background));
    paintDc.Clear();
    paintDc.SetFont(GetFont());
    paintDc.SetTextForeground(palette.text);
    // Texts are drawn as those of the controls; only shapes are antialiased.
    wxGCDC dc(paintDc);
    const Surface surface{paintDc, dc};

    const int gap = std::max(4, GetCharHeight() / 2);
    const int lineHeight = GetCharHeight();
    const wxRect area = GetClientRect().Deflate(gap);
    const int headerHeight = DrawHeader(paintDc, area) * lineHeight;

    // Late replies take much longer than the others: the axis covers the others, and late ones stand at its
    // top.
    const PingSummary& summary = m_history.Summary();
    const std::int64_t highest = summary.maximumInTime != 0 ? summary.maximumInTime : summary.maximum;
    const std::int64_t top = highest != 0 ? RoundAxis(highest) : kEmptyTop;
    int axisWidth = 0;
    for (int division = 1; division <= kMostDivisions; ++division) {
        const wxString label = DurationText(static_cast<double>(top) * division / kMostDivisions) + " ";
        axisWidth = std::max(axisWidth, paintDc.GetTextExtent(label).x);
    }
    const wxRect plot(area.x + axisWidth, area.y + headerHeight + lineHeight, area.width - axisWidth - gap,
                      area.height - headerHeight - 2 * lineHeight - gap);
    DrawLegend(surface, palette, wxRect(plot.x, area.GetBottom() - lineHeight, plot.width, lineHeight));
    if (plot.width > 10 && plot.height > lineHeight / 2) {
        DrawFrame(surface, palette, plot, top);
        DrawPings(dc, palette, plot.Deflate(gap, 0), top);
    }
    if (HasFocus()) {
        dc.SetPen(wxPen(palette.reply, 1, wxPENSTYLE_DOT));
        dc.SetBrush(*wxTRANSPARENT_BRUSH);
        dc.DrawRectangle(GetClientRect().Deflate(1));
    }
}

int CPingChart::DrawHeader(wxDC& dc, const wxRect& area) const {
    const int blank = 2 * GetCharWidth();
    const wxString title =
        m_history.HasTest() ? "Ping " + wxString(m_history.Target()) : wxString("Ping chart");
    dc.SetFont(GetFont().Bold());
    dc.DrawText(title, area.GetPosition());
    int x = area.x + dc.GetTextExtent(title).x + blank;
    int lines = 1;
    dc.SetFont(GetFont());
    for (const wxString& figure : FigureList()) {
        const int width = dc.GetTextExtent(figure).x;
        if (x + width > area.GetRight() && x > area.x) {
            x = area.x;
            ++lines;
        }
        dc.DrawText(figure, x, area.y + (lines - 1) * GetCharHeight());
        x += width + blank;
    }
    return lines;
}

void CPingChart::DrawLegend(const Surface& surface, const Palette& palette, const wxRect& line) const {
    struct Entry {
        const char* text;
        void (*draw)(wxDC&, const wxColour&, wxPoint, int);
        const wxColour& colour;
    };
    const std::array entries = {Entry{"Reply", DrawReplyMark, palette.reply},
                                Entry{"Late reply", DrawLateMark, palette.late},
                                Entry{"Time-out", DrawTimeoutMark, palette.timeout}};
    const int mark = line.height;
    int width = 0;
    for (const Entry& entry : entries) {
        width += 2 * mark + surface.texts.GetTextExtent(entry.text).x;
    }
    int x = line.x + std::max(mark, (line.width - width) / 2);
    for (const Entry& entry : entries) {
        entry.draw(surface.shapes, entry.colour, wxPoint(x + mark / 2, line.y + line.height / 2),
                   line.height / 2);
        surface.texts.DrawText(entry.text, x + mark, line.y);
        x += 2 * mark + surface.texts.GetTextExtent(entry.text).x;
    }
}

void CPingChart::DrawFrame(const Surface& surface, const Palette& palette, const wxRect& plot,
                           std::int64_t top) const {
    const int lineHeight = GetCharHeight();
    const int divisions = plot.height >= 8 * lineHeight   ? kMostDivisions
                          : plot.height >= 4 * lineHeight ? 2
                                                          : 1;
    for (int division = 0; division <= divisions; ++division) {
        const int y = plot.GetBottom() - (plot.height - 1) * division / divisions;
        surface.shapes.SetPen(wxPen(palette.faint));
        surface.shapes.DrawLine(plot.x, y, plot.GetRight() + 1, y);
        const wxString label = DurationText(static_cast<double>(top) * division / divisions);
        const int width = surface.texts.GetTextExtent(label + " ").x;
        surface.texts.DrawText(label, plot.x - width, y - lineHeight / 2);
    }
    if (!m_history.HasTest()) {
        return;
    }
    const wxString first = wxString::Format("#%zu", m_history.First() + 1);
    const wxString last = wxString::Format("#%zu", m_history.First() + m_history.Span());
    const int y = GetClientRect().Deflate(std::max(4, lineHeight / 2)).GetBottom() - lineHeight;
    surface.texts.DrawText(first, plot.x, y);
    if (m_history.Span() > 1) {
        surface.texts.DrawText(last, plot.GetRight() - surface.texts.GetTextExtent(last).x, y);
    }
}

void CPingChart::DrawPings(wxDC& dc, const Palette& palette, const wxRect& plot, std::int64_t top) const {
    const auto width = static_cast<std::size_t>(std::max(1, plot.width));
    const std::vector<PingColumn> columns = m_history.Columns(width);
    const int mark = std::max(4, GetCharHeight() / 3);
    const auto at = [&](std::size_t column, std::int64_t roundTrip) {
        return wxPoint(plot.x + static_cast<int>(column), HeightOf(roundTrip, plot, top));
    };
    // A line from answer to answer, broken where one is missing; in a column of several pings from the
    // shortest to the longest round trip.
    dc.SetPen(wxPen(palette.reply));
    wxPoint previous;
    bool joined = false;
    for (std::size_t column = 0; column < columns.size(); ++column) {
        const PingColumn& what = columns[column];
        if (what.answered && !what.late) {
            const wxPoint highest = at(column, what.maximum);
            const wxPoint lowest = at(column, what.minimum);
            if (joined) {
                dc.DrawLine(previous, highest);
            }
            dc.DrawLine(highest, lowest + wxPoint(0, 1));
            previous = lowest;
            joined = true;
        } else if (what.timedOut || what.late) {
            joined = false;
        }
    }
    const bool roomy = m_history.Span() * static_cast<std::size_t>(mark) <= width;
    for (std::size_t column = 0; column < columns.size(); ++column) {
        const PingColumn& what = columns[column];
        if (what.answered && !what.late && roomy) {
            DrawReplyMark(dc, palette.reply, at(column, what.maximum), mark);
        }
        if (what.late) {
            DrawLateMark(dc, palette.late, at(column, what.maximum), mark);
        }
        if (what.timedOut) {
            DrawTimeoutMark(dc, palette.timeout, wxPoint(at(column, 0).x, plot.y - mark), mark);
        }
    }
}

} // namespace vnxtest
