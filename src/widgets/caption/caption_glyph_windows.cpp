#include "widgets/caption/caption_glyph_windows.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>
#include <type_traits>

namespace vnxtest {

namespace {

struct Deleter {
    void operator()(HDC dc) const { DeleteDC(dc); }
    void operator()(HGDIOBJ object) const { DeleteObject(object); }
};
template <typename Handle>
using Owned = std::unique_ptr<std::remove_pointer_t<Handle>, Deleter>;

constexpr std::uint32_t kOpaque = 255;

// How much of a pixel the text covers, drawn white on black: GDI writes no alpha.
std::uint32_t Coverage(std::uint32_t pixel) {
    return std::max({pixel & 0xFF, pixel >> 8 & 0xFF, pixel >> 16 & 0xFF});
}

std::uint32_t Premultiplied(COLORREF colour, std::uint32_t alpha) {
    const auto part = [alpha](std::uint32_t value) { return value * alpha / kOpaque; };
    return alpha << 24 | part(GetRValue(colour)) << 16 | part(GetGValue(colour)) << 8 |
           part(GetBValue(colour));
}

} // namespace

bool DrawCaptionGlyph(HDC dc, const RECT& place, wchar_t sign, const LOGFONTW& font, COLORREF colour,
                      BYTE veil) {
    const int width = place.right - place.left;
    const int height = place.bottom - place.top;
    BITMAPINFO format{};
    format.bmiHeader.biSize = sizeof format.bmiHeader;
    format.bmiHeader.biWidth = width;
    format.bmiHeader.biHeight = -height; // from the top
    format.bmiHeader.biPlanes = 1;
    format.bmiHeader.biBitCount = 32;
    // Shades of grey, which can become alpha; colours of single dots cannot.
    LOGFONTW smooth = font;
    smooth.lfQuality = ANTIALIASED_QUALITY;
    void* bits = nullptr;
    const Owned<HDC> memory(CreateCompatibleDC(dc));
    const Owned<HBITMAP> bitmap(CreateDIBSection(dc, &format, DIB_RGB_COLORS, &bits, nullptr, 0));
    const Owned<HFONT> face(CreateFontIndirectW(&smooth));
    if (memory == nullptr || bitmap == nullptr || face == nullptr) {
        return false;
    }
    const HGDIOBJ bitmapBefore = SelectObject(memory.get(), bitmap.get());
    const HGDIOBJ faceBefore = SelectObject(memory.get(), face.get());
    SetBkMode(memory.get(), TRANSPARENT);
    SetTextColor(memory.get(), RGB(255, 255, 255));
    RECT whole = {0, 0, width, height};
    DrawTextW(memory.get(), &sign, 1, &whole, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    GdiFlush();
    const std::size_t pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    for (std::uint32_t& pixel : std::span(static_cast<std::uint32_t*>(bits), pixels)) {
        const std::uint32_t covered = Coverage(pixel);
        pixel = Premultiplied(colour, covered + (kOpaque - covered) * veil / kOpaque);
    }
    const bool drawn = BitBlt(dc, place.left, place.top, width, height, memory.get(), 0, 0, SRCCOPY) != FALSE;
    SelectObject(memory.get(), faceBefore);
    SelectObject(memory.get(), bitmapBefore);
    return drawn;
}

} // namespace vnxtest
