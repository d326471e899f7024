#include "ui/chart/chart_painter.h"

#include <cmath>

#include <wx/graphics.h>
#include <wx/settings.h>

namespace vnxtest {

namespace {

class Painter {
public:
    Painter(const ChartColours& colours, const wxFont& font, wxDC& texts, wxGCDC& context)
        : m_colours(colours), m_font(font), m_texts(texts), m_graphics(*context.GetGraphicsContext()) {}

    void operator()(const ChartBox& box) {
        Fill(box.ink);
        m_graphics.DrawRectangle(box.x, box.y, box.width, box.height);
    }

    void operator()(const ChartLine& line) {
        Stroke(line.ink, line.width);
        m_graphics.StrokeLine(line.x1, line.y1, line.x2, line.y2);
    }

    void operator()(const ChartDisc& disc) {
        if (disc.hollow) {
            Stroke(disc.ink, 1);
            m_graphics.SetBrush(*wxTRANSPARENT_BRUSH);
        } else {
            Fill(disc.ink);
        }
        m_graphics.DrawEllipse(disc.x - disc.radius, disc.y - disc.radius, 2 * disc.radius, 2 * disc.radius);
    }

    void operator()(const ChartTriangle& triangle) {
        Fill(triangle.ink);
        wxGraphicsPath path = m_graphics.CreatePath();
        const double half = triangle.size / 2;
        path.MoveToPoint(triangle.x, triangle.y - half);
        path.AddLineToPoint(triangle.x - half, triangle.y + half);
        path.AddLineToPoint(triangle.x + half, triangle.y + half);
        path.CloseSubpath();
        m_graphics.FillPath(path);
    }

    void operator()(const ChartText& text) {
        m_graphics.Flush(); // what it has drawn lies below
        m_texts.SetFont(text.bold ? m_font.Bold() : m_font);
        m_texts.SetTextForeground(m_colours.text);
        const double width = text.align == Align::Left ? 0 : m_texts.GetTextExtent(text.text).x;
        const double x = text.x - (text.align == Align::Centre ? width / 2 : width);
        m_texts.DrawText(text.text, static_cast<int>(std::lround(x)), static_cast<int>(std::lround(text.y)));
    }

private:
    void Fill(Ink ink) {
        m_graphics.SetPen(*wxTRANSPARENT_PEN);
        m_graphics.SetBrush(wxBrush(m_colours.Of(ink)));
    }
    void Stroke(Ink ink, double width) {
        m_graphics.SetPen(
            m_graphics.CreatePen(wxGraphicsPenInfo(m_colours.Of(ink)).Width(width).Join(wxJOIN_ROUND)));
    }

    const ChartColours& m_colours;
    const wxFont& m_font;
    wxDC& m_texts;
    wxGraphicsContext& m_graphics;
};

wxColour Mix(const wxColour& most, const wxColour& some) {
    const auto mix = [](unsigned char from, unsigned char to) {
        return static_cast<unsigned char>((3 * from + to) / 4);
    };
    return {mix(most.Red(), some.Red()), mix(most.Green(), some.Green()), mix(most.Blue(), some.Blue())};
}

} // namespace

ChartColours ChartColours::OfTheme() {
    ChartColours colours = OfPaper();
    colours.background = wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOW);
    colours.text = wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOWTEXT);
    colours.grid = Mix(colours.background, colours.text);
    if (wxSystemSettings::GetAppearance().IsUsingDarkBackground()) {
        colours.reply = wxColour(0x6C, 0xB4, 0xFF);
        colours.late = wxColour(0xFF, 0xC1, 0x4D);
        colours.lost = wxColour(0xFF, 0x8A, 0x80);
    }
    return colours;
}

ChartColours ChartColours::OfPaper() {
    return {*wxWHITE,
            *wxBLACK,
            wxColour(0xBF, 0xBF, 0xBF),
            wxColour(0x1B, 0x5F, 0xB4),
            wxColour(0xB3, 0x6B, 0x00),
            wxColour(0xC6, 0x28, 0x28)};
}

const wxColour& ChartColours::Of(Ink ink) const {
    switch (ink) {
    case Ink::Background:
        return background;
    case Ink::Grid:
        return grid;
    case Ink::Reply:
        return reply;
    case Ink::Late:
        return late;
    case Ink::Lost:
        return lost;
    case Ink::Text:
        break;
    }
    return text;
}

void PaintChart(const std::vector<ChartShape>& shapes, const ChartColours& colours, const wxFont& font,
                wxDC& texts, wxGCDC& context) {
    Painter painter(colours, font, texts, context);
    for (const ChartShape& shape : shapes) {
        std::visit(painter, shape);
    }
}

} // namespace vnxtest
