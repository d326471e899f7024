#include "ui/chart/ping_chart.h"

#include <algorithm>
#include <cmath>

#include <wx/dcbuffer.h>
#include <wx/dcgraph.h>
#include <wx/dcmemory.h>
#include <wx/utils.h>

#include "ui/chart/chart_painter.h"
#include "ui/chart/read_out.h"
#include "ui/chart/svg_writer.h"
#include "widgets/accessible_name.h"

namespace vnxtest {

namespace {
constexpr double kPanStep = 0.25; // of what is shown, by a key or a notch of the wheel
constexpr int kEmptyLines = 2;    // of the control's height until there is a test
constexpr int kLines = 13;
constexpr int kPaperWidth = 900; // of a picture, device-independent pixels
constexpr int kPaperHeight = 400;
} // namespace

CPingChart::CPingChart(wxWindow* parent, const PingHistory& history)
    : wxWindow(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize,
               wxFULL_REPAINT_ON_RESIZE | wxBORDER_NONE | wxWANTS_CHARS),
      m_history(history) {
    SetName("Ping chart");
    SetAccessibleName(*this, "Ping chart");
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    Bind(wxEVT_PAINT, &CPingChart::OnPaint, this);
    Bind(wxEVT_CHAR, &CPingChart::OnChar, this);
    Bind(wxEVT_MOTION, &CPingChart::OnMotion, this);
    Bind(wxEVT_ENTER_WINDOW, &CPingChart::OnMotion, this); // a pointer that comes and stays does not move
    Bind(wxEVT_MOUSEWHEEL, &CPingChart::OnWheel, this);
    Bind(wxEVT_LEFT_DOWN, [this](wxMouseEvent& event) {
        SetFocus();
        m_dragged = event.GetPosition();
        CaptureMouse();
    });
    Bind(wxEVT_LEFT_UP, [this](wxMouseEvent&) {
        m_dragged.reset();
        if (HasCapture()) {
            ReleaseMouse();
        }
    });
    Bind(wxEVT_MOUSE_CAPTURE_LOST, [this](wxMouseCaptureLostEvent&) { m_dragged.reset(); });
    Bind(wxEVT_LEAVE_WINDOW, [this](wxMouseEvent&) {
        if (!m_byKeys) {
            ReadPing(std::nullopt);
        }
    });
    // A menu that opens takes the mouse, and the toolkit does not tell that it left.
    Bind(wxEVT_IDLE, [this](wxIdleEvent& event) {
        event.Skip();
        if (m_reading && !m_byKeys && !GetScreenRect().Contains(wxGetMousePosition())) {
            ReadPing(std::nullopt);
        }
    });
    const auto onFocus = [this](wxFocusEvent& event) {
        Refresh();
        event.Skip();
    };
    Bind(wxEVT_SET_FOCUS, onFocus);
    Bind(wxEVT_KILL_FOCUS, onFocus);
}

wxSize CPingChart::DoGetBestClientSize() const {
    return wxSize(60 * GetCharWidth(), (m_history.HasTest() ? kLines : kEmptyLines) * GetCharHeight());
}

void CPingChart::ShowTest() {
    m_reading.reset();
    m_range = ChartRange();
    InvalidateBestSize();
    ShowChange();
}

void CPingChart::ShowChange() {
    m_range.Fit(m_history.Span(), m_history.Sent());
    if (m_reading && (*m_reading < m_history.First() || *m_reading >= m_history.Sent())) {
        m_reading.reset();
    }
    Tell();
}

// The name that assistive software reads follows what is shown.
void CPingChart::Tell() {
    wxString name = "Ping chart: " + wxString(JoinTexts(ChartFigures(m_history)));
    if (m_reading) {
        name += "; " + wxString(ReadOut(m_history, *m_reading));
    }
    if (name != GetName()) {
        SetAccessibleName(*this, name);
    }
    Refresh();
}

void CPingChart::ShowAll() {
    m_range.ShowAll();
    Refresh();
}

void CPingChart::ShowLogarithmic(bool logarithmic) {
    m_logarithmic = logarithmic;
    Refresh();
}

void CPingChart::Zoom(double factor, double part) {
    m_range.Zoom(factor, part);
    Refresh();
}

void CPingChart::Pan(double pings) {
    m_range.Pan(pings);
    Refresh();
}

void CPingChart::ReadPing(std::optional<std::size_t> position) {
    if (position != m_reading) {
        m_reading = position;
        Tell();
    }
}

ChartMetrics CPingChart::Metrics(wxDC& dc) const {
    const wxFont font = GetFont();
    return {static_cast<double>(GetCharHeight()), [&dc, font](const std::wstring& text, bool bold) {
                dc.SetFont(bold ? font.Bold() : font);
                return static_cast<double>(dc.GetTextExtent(text).x);
            }};
}

ChartPicture CPingChart::MakePicture(const ChartMetrics& metrics, const wxSize& size,
                                     bool withReadOut) const {
    return MakeChartPicture({.history = m_history,
                             .range = m_range,
                             .metrics = metrics,
                             .width = static_cast<double>(size.x),
                             .height = static_cast<double>(size.y),
                             .logarithmic = m_logarithmic,
                             .readOut = withReadOut ? m_reading : std::nullopt});
}

wxSize CPingChart::PaperSize() const {
    wxSize size = GetClientSize();
    size.IncTo(FromDIP(wxSize(kPaperWidth, kPaperHeight)));
    return size;
}

wxBitmap CPingChart::MakeBitmap() const {
    const wxSize size = PaperSize();
    const ChartColours colours = ChartColours::OfPaper();
    wxBitmap bitmap(size, 24);
    wxMemoryDC dc(bitmap);
    dc.SetBackground(wxBrush(colours.background));
    dc.Clear();
    {
        wxGCDC context(dc);
        PaintChart(MakePicture(Metrics(dc), size, false).shapes, colours, GetFont(), dc, context);
    }
    dc.SelectObject(wxNullBitmap);
    return bitmap;
}

std::string CPingChart::MakeSvg() const {
    const wxSize size = PaperSize();
    const ChartColours colours = ChartColours::OfPaper();
    wxBitmap nothing(1, 1);
    wxMemoryDC dc(nothing); // measures the texts
    const ChartMetrics metrics = Metrics(dc);
    return ChartSvg(MakePicture(metrics, size, false),
                    {static_cast<double>(size.x), static_cast<double>(size.y), metrics.lineHeight,
                     [&](Ink ink) { return colours.Of(ink).GetAsString(wxC2S_HTML_SYNTAX).utf8_string(); }});
}

void CPingChart::OnPaint(wxPaintEvent&) {
    wxAutoBufferedPaintDC dc(this);
    const ChartColours colours = ChartColours::OfTheme();
    dc.SetBackground(wxBrush(colours.background));
    dc.Clear();
    wxGCDC context(dc);
    const ChartPicture picture = MakePicture(Metrics(dc), GetClientSize(), true);
    PaintChart(picture.shapes, colours, GetFont(), dc, context);
    m_plot = picture.plot;
    if (HasFocus()) {
        context.SetPen(wxPen(colours.reply, 1, wxPENSTYLE_DOT));
        context.SetBrush(*wxTRANSPARENT_BRUSH);
        context.DrawRectangle(GetClientRect().Deflate(1));
    }
}

void CPingChart::OnMotion(wxMouseEvent& event) {
    const wxPoint at = event.GetPosition();
    if (!m_plot) {
        return;
    }
    if (m_dragged && event.LeftIsDown()) {
        Pan((m_dragged->x - at.x) / m_plot->width * m_range.Length());
        m_dragged = at;
    }
    m_byKeys = false;
    ReadPing(PingAt(*m_plot, m_history, m_range, at.x, at.y));
}

void CPingChart::OnWheel(wxMouseEvent& event) {
    if (!m_plot || event.GetWheelDelta() == 0) {
        return;
    }
    const double notches = static_cast<double>(event.GetWheelRotation()) / event.GetWheelDelta();
    if (event.GetWheelAxis() == wxMOUSE_WHEEL_HORIZONTAL) {
        Pan(notches * kPanStep * m_range.Length());
    } else if (event.ShiftDown()) {
        Pan(-notches * kPanStep * m_range.Length());
    } else {
        const double part = (event.GetPosition().x - m_plot->left) / m_plot->width;
        Zoom(std::pow(kZoomStep, notches), std::clamp(part, 0.0, 1.0));
    }
}

// Arrows: the ping before and behind, with Ctrl the lost and late ones; Home, End, Page Up and Page Down;
// with Shift all of these move what is shown. + and -: zoom; 0: all; L: the axis of the times.
void CPingChart::OnChar(wxKeyEvent& event) {
    const int key = event.GetKeyCode();
    if (key == WXK_TAB) {
        Navigate(event.ShiftDown() ? wxNavigationKeyEvent::IsBackward : wxNavigationKeyEvent::IsForward);
        return;
    }
    const bool done =
        m_history.HasTest() && !event.AltDown() &&
        (event.ShiftDown() ? Turn(key, true) : Turn(key, false) || StepBy(key, event.ControlDown()));
    event.Skip(!done);
}

bool CPingChart::Turn(int key, bool shift) {
    const double step = m_range.Length() * (key == WXK_PAGEUP || key == WXK_PAGEDOWN ? 1 : kPanStep);
    switch (key) {
    case '+':
    case '=':
    case WXK_NUMPAD_ADD:
        ZoomIn();
        return true;
    case '-':
    case WXK_NUMPAD_SUBTRACT:
        ZoomOut();
        return true;
    case '0':
    case WXK_NUMPAD0:
        ShowAll();
        return true;
    case 'l':
    case 'L':
        ShowLogarithmic(!m_logarithmic);
        return true;
    case WXK_LEFT:
    case WXK_PAGEUP:
    case WXK_RIGHT:
    case WXK_PAGEDOWN:
        if (shift) {
            Pan(key == WXK_LEFT || key == WXK_PAGEUP ? -step : step);
        }
        return shift;
    default:
        return false;
    }
}

bool CPingChart::StepBy(int key, bool control) {
    if (m_history.Sent() == m_history.First()) {
        return false;
    }
    const std::size_t first = m_history.First();
    const std::size_t last = m_history.Sent() - 1;
    // Without one to begin with: the first one in view, or the last.
    const auto nearest = [first, last](double at) {
        return std::clamp(static_cast<std::size_t>(std::llround(std::max(at, 0.0))), first, last);
    };
    const std::size_t begin = nearest(m_range.Begin());
    const std::size_t end = nearest(m_range.End() - 1);
    const auto page = std::max<std::size_t>(static_cast<std::size_t>(m_range.Length() / 10), 1);
    const auto stepTo = [&](std::size_t pings, bool forward) {
        const std::size_t from = m_reading.value_or(forward ? begin : end);
        const std::size_t step = m_reading ? pings : 0;
        StepTo(forward ? std::min(from + step, last) : from - std::min(step, from - first));
    };
    switch (key) {
    case WXK_LEFT:
    case WXK_RIGHT:
        if (control) {
            const bool forward = key == WXK_RIGHT;
            StepTo(m_history.NextFault(m_reading.value_or(forward ? begin : end), forward ? 1 : -1));
        } else {
            stepTo(1, key == WXK_RIGHT);
        }
        return true;
    case WXK_PAGEUP:
    case WXK_PAGEDOWN:
        stepTo(page, key == WXK_PAGEDOWN);
        return true;
    case WXK_HOME:
        StepTo(first);
        return true;
    case WXK_END:
        StepTo(last);
        return true;
    default:
        return false;
    }
}

void CPingChart::StepTo(std::optional<std::size_t> position) {
    if (!position) {
        wxBell();
        return;
    }
    m_range.Reveal(*position);
    m_byKeys = true;
    m_reading = position;
    Tell();
}

} // namespace vnxtest
