#include "ui/chart/svg_writer.h"

#include <fmt/format.h>

#include "wrenlib/text.h"

namespace vnxtest {

namespace {

// The name of a target is what its user typed. Characters that XML cannot hold become blanks.
std::string Escaped(const std::wstring& text) {
    std::string escaped;
    for (const char each : ToUtf8(text)) {
        switch (each) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        default:
            escaped += static_cast<unsigned char>(each) < 0x20 ? ' ' : each;
        }
    }
    return escaped;
}

class Writer {
public:
    explicit Writer(const SvgPage& page) : m_page(page) {}

    std::string operator()(const ChartBox& box) const {
        return fmt::format(R"(<rect x="{:.2f}" y="{:.2f}" width="{:.2f}" height="{:.2f}" fill="{}"/>)", box.x,
                           box.y, box.width, box.height, m_page.colourOf(box.ink));
    }
    std::string operator()(const ChartLine& line) const {
        return fmt::format(
            R"(<line x1="{:.2f}" y1="{:.2f}" x2="{:.2f}" y2="{:.2f}" stroke="{}" stroke-width="{:.2f}"/>)",
            line.x1, line.y1, line.x2, line.y2, m_page.colourOf(line.ink), line.width);
    }
    std::string operator()(const ChartDisc& disc) const {
        const std::string colour = m_page.colourOf(disc.ink);
        return fmt::format(R"(<circle cx="{:.2f}" cy="{:.2f}" r="{:.2f}" fill="{}" stroke="{}"/>)", disc.x,
                           disc.y, disc.radius, disc.hollow ? "none" : colour, disc.hollow ? colour : "none");
    }
    std::string operator()(const ChartTriangle& triangle) const {
        const double half = triangle.size / 2;
        return fmt::format(R"(<polygon points="{:.2f},{:.2f} {:.2f},{:.2f} {:.2f},{:.2f}" fill="{}"/>)",
                           triangle.x, triangle.y - half, triangle.x - half, triangle.y + half,
                           triangle.x + half, triangle.y + half, m_page.colourOf(triangle.ink));
    }
    std::string operator()(const ChartText& text) const {
        const char* const anchor = text.align == Align::Left     ? "start"
                                   : text.align == Align::Centre ? "middle"
                                                                 : "end";
        // SVG places a text by its base line, four fifths down its line.
        return fmt::format(R"(<text x="{:.2f}" y="{:.2f}" text-anchor="{}"{}>{}</text>)", text.x,
                           text.y + m_page.lineHeight * 0.8, anchor,
                           text.bold ? R"( font-weight="bold")" : "", Escaped(text.text));
    }

private:
    const SvgPage& m_page;
};

} // namespace

std::string ChartSvg(const ChartPicture& picture, const SvgPage& page) {
    std::string svg = fmt::format(
        R"(<?xml version="1.0" encoding="UTF-8"?>
<svg xmlns="http://www.w3.org/2000/svg" width="{0:.0f}" height="{1:.0f}" viewBox="0 0 {0:.0f} {1:.0f}" font-family="sans-serif" font-size="{2:.1f}" fill="{3}">
<rect width="100%" height="100%" fill="{4}"/>
)",
        page.width, page.height, page.lineHeight * 0.75, page.colourOf(Ink::Text),
        page.colourOf(Ink::Background));
    const Writer writer(page);
    for (const ChartShape& shape : picture.shapes) {
        svg += std::visit(writer, shape) + "\n";
    }
    return svg + "</svg>\n";
}

} // namespace vnxtest
