// The chart of the running ping test: round trip over sequence, time-outs and late replies marked, and the
// figures above it. It only draws what the history holds. User-interface thread.
#pragma once

#include <wx/window.h>

#include "ui/chart/ping_history.h"

namespace vnxtest {

class CPingChart final : public wxWindow {
public:
    // `history` must outlive this.
    CPingChart(wxWindow* parent, const PingHistory& history);

    // The history has changed.
    void ShowChange();
    // The figures above the chart, as one line.
    wxString Figures() const;

    wxSize DoGetBestClientSize() const override;

private:
    struct Palette;
    // One picture with two ways of drawing.
    struct Surface {
        wxDC& texts;
        wxDC& shapes;
    };
    std::vector<wxString> FigureList() const;
    void OnPaint(wxPaintEvent& event);
    void DrawFrame(const Surface& surface, const Palette& palette, const wxRect& plot,
                   std::int64_t top) const;
    void DrawPings(wxDC& dc, const Palette& palette, const wxRect& plot, std::int64_t top) const;
    // Wraps the figures; returns the number of lines.
    int DrawHeader(wxDC& dc, const wxRect& area) const;
    void DrawLegend(const Surface& surface, const Palette& palette, const wxRect& line) const;

    const PingHistory& m_history;
};

// "812 µs", "0.25 µs", "12.5 ms": below a millisecond in microseconds; as many decimals as there are, two at
// most, so that a grid line's label is exact.
wxString DurationText(double nanoseconds);

// The smallest of 1, 2, 5, 10, 20, 50 ... microseconds that is not below `nanoseconds`: the top of a chart's
// axis. In nanoseconds.
std::int64_t RoundAxis(std::int64_t nanoseconds);

} // namespace vnxtest
