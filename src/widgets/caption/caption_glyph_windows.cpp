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

// A picture of the size of a place, each pixel with its alpha, and a device context to draw into it.
class AlphaPicture {
public:
    AlphaPicture(HDC dc, const RECT& place)
        : m_width(place.right - place.left), m_height(place.bottom - place.top),
          m_memory(CreateCompatibleDC(dc)) {
        BITMAPINFO format{};
        format.bmiHeader.biSize = sizeof format.bmiHeader;
        format.bmiHeader.biWidth = m_width;
        format.bmiHeader.biHeight = -m_height; // from the top
        format.bmiHeader.biPlanes = 1;
        format.bmiHeader.biBitCount = 32;
        m_bitmap.reset(CreateDIBSection(dc, &format, DIB_RGB_COLORS, &m_bits, nullptr, 0));
        if (IsReady()) {
            m_before = SelectObject(m_memory.get(), m_bitmap.get());
        }
    }
    AlphaPicture(const AlphaPicture&) = delete;
    AlphaPicture& operator=(const AlphaPicture&) = delete;
    ~AlphaPicture() {
        if (IsReady()) {
            SelectObject(m_memory.get(), m_before);
        }
    }

    bool IsReady() const { return m_memory != nullptr && m_bitmap != nullptr; }
    HDC Context() const { return m_memory.get(); }
    RECT Area() const { return {0, 0, m_width, m_height}; }

    // What was drawn so far, line by line from the top: 0xAARRGGBB.
    std::span<std::uint32_t> Pixels() {
        GdiFlush();
        return {static_cast<std::uint32_t*>(m_bits),
                static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height)};
    }

    bool CopyTo(HDC dc, const RECT& place) const {
        return BitBlt(dc, place.left, place.top, m_width, m_height, m_memory.get(), 0, 0, SRCCOPY) != FALSE;
    }

private:
    int m_width;
    int m_height;
    void* m_bits = nullptr;
    Owned<HBITMAP> m_bitmap; // goes after the context that it is selected into
    Owned<HDC> m_memory;
    HGDIOBJ m_before = nullptr;
};

// How much of a pixel the text covers, drawn white on black: GDI writes no alpha.
std::uint32_t Coverage(std::uint32_t pixel) {
    return std::max({pixel & 0xFF, pixel >> 8 & 0xFF, pixel >> 16 & 0xFF});
}

// The sign over the veil, where the sign covers `covered` of 255 of the pixel.
std::uint32_t Premultiplied(const CaptionSign& sign, std::uint32_t covered) {
    const std::uint32_t above = covered * sign.opacity / kOpaque;
    const std::uint32_t below = (kOpaque - above) * sign.veilOpacity / kOpaque;
    const auto part = [above, below](std::uint32_t colour, std::uint32_t veil) {
        return (colour * above + veil * below) / kOpaque;
    };
    return (above + below) << 24 | part(sign.colour.red, sign.veil.red) << 16 |
           part(sign.colour.green, sign.veil.green) << 8 | part(sign.colour.blue, sign.veil.blue);
}

} // namespace

bool DrawCaptionGlyph(HDC dc, const RECT& place, wchar_t letter, const LOGFONTW& font,
                      const CaptionSign& sign) {
    // Shades of grey, which can become alpha; colours of single dots cannot.
    LOGFONTW smooth = font;
    smooth.lfQuality = ANTIALIASED_QUALITY;
    AlphaPicture picture(dc, place);
    const Owned<HFONT> face(CreateFontIndirectW(&smooth));
    if (!picture.IsReady() || face == nullptr) {
        return false;
    }
    const HGDIOBJ faceBefore = SelectObject(picture.Context(), face.get());
    SetBkMode(picture.Context(), TRANSPARENT);
    SetTextColor(picture.Context(), RGB(255, 255, 255));
    RECT whole = picture.Area();
    DrawTextW(picture.Context(), &letter, 1, &whole, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
    SelectObject(picture.Context(), faceBefore);
    for (std::uint32_t& pixel : picture.Pixels()) {
        pixel = Premultiplied(sign, Coverage(pixel));
    }
    return picture.CopyTo(dc, place);
}

void DrawClassicHelpButton(HDC dc, const RECT& place, bool pushed) {
    const UINT state = DFCS_CAPTIONHELP | (pushed ? DFCS_PUSHED : 0U);
    AlphaPicture picture(dc, place);
    if (!picture.IsReady()) {
        RECT target = place;
        DrawFrameControl(dc, &target, DFC_CAPTION, state);
        return;
    }
    RECT whole = picture.Area();
    DrawFrameControl(picture.Context(), &whole, DFC_CAPTION, state);
    for (std::uint32_t& pixel : picture.Pixels()) {
        pixel |= kOpaque << 24;
    }
    picture.CopyTo(dc, place);
}

void ClearCaption(HDC dc, const RECT& place) {
    const AlphaPicture picture(dc, place); // all zero: transparent
    if (picture.IsReady()) {
        picture.CopyTo(dc, place);
    }
}

} // namespace vnxtest
