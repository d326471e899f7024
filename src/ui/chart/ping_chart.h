// The control that shows the chart of a ping test (chart_picture.h), lets the user zoom, move along and read
// single pings, and makes pictures of it.
//
// Wheel: zoom; with Shift, or a wheel that tilts: along. Drag: along. Keys: OnChar(). User-interface thread.
#pragma once

#include <optional>
#include <string>

#include <wx/bitmap.h>
#include <wx/window.h>

#include "ui/chart/chart_picture.h"
#include "ui/chart/chart_range.h"
#include "ui/chart/ping_history.h"

namespace vnxtest {

class CPingChart final : public wxWindow {
public:
    // `history` must outlive this.
    CPingChart(wxWindow* parent, const PingHistory& history);

    // A new test begins: all of it is shown.
    void ShowTest();
    // The history has changed.
    void ShowChange();

    void ZoomIn() { Zoom(kZoomStep, 0.5); }
    void ZoomOut() { Zoom(1 / kZoomStep, 0.5); }
    void ShowAll();
    bool HasTest() const { return m_history.HasTest(); }
    bool IsWhole() const { return m_range.IsWhole(); }
    void ShowLogarithmic(bool logarithmic);
    bool IsLogarithmic() const { return m_logarithmic; }

    // What is shown, on white paper and without the read-out: as a picture, and as SVG. At least of a size in
    // which it can be read, also while the chart is hidden.
    wxBitmap MakeBitmap() const;
    std::string MakeSvg() const;

    // Few lines until there is a test.
    wxSize DoGetBestClientSize() const override;

private:
    static constexpr double kZoomStep = 1.5;

    ChartMetrics Metrics(wxDC& dc) const;
    ChartPicture MakePicture(const ChartMetrics& metrics, const wxSize& size, bool withReadOut) const;
    wxSize PaperSize() const;
    void Zoom(double factor, double part);
    void Pan(double pings);
    // Shows what became of this ping, or of none.
    void ReadPing(std::optional<std::size_t> position);
    void StepTo(std::optional<std::size_t> position);
    void Tell();

    void OnPaint(wxPaintEvent& event);
    void OnMotion(wxMouseEvent& event);
    void OnWheel(wxMouseEvent& event);
    void OnChar(wxKeyEvent& event);
    bool StepBy(int key, bool control);
    bool Turn(int key, bool shift);

    const PingHistory& m_history;
    ChartRange m_range;
    bool m_logarithmic = false;
    std::optional<std::size_t> m_reading; // the position of the ping that is read out
    bool m_byKeys = false;                // it was chosen by keys: it stays when the mouse leaves
    std::optional<ChartPlot> m_plot;      // as last painted
    std::optional<wxPoint> m_dragged;     // where the mouse was last while it drags
};

} // namespace vnxtest
