#include "widgets/caption/visual_styles_windows.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include <gmock/gmock.h>
#include <vssym32.h>

#include "widgets/caption/caption_glyph_windows.h"
#include "widgets/caption/caption_system_windows.h"
#include "wrenlib/trace.h"

// A system with a visual style and a window manager, which fails where it is told to. Found by name, as that
// of the system is.
namespace {
int g_openThemes = 0;
constexpr COLORREF kActiveText = RGB(10, 20, 30);
constexpr COLORREF kInactiveText = RGB(110, 120, 130);
} // namespace
extern "C" {
__declspec(dllexport) BOOL WINAPI TestIsThemeActive() {
    return TRUE;
}
__declspec(dllexport) HTHEME WINAPI TestOpenThemeData(HWND, LPCWSTR) {
    ++g_openThemes;
    return reinterpret_cast<HTHEME>(&g_openThemes);
}
__declspec(dllexport) HRESULT WINAPI TestCloseThemeData(HTHEME) {
    --g_openThemes;
    return S_OK;
}
__declspec(dllexport) HRESULT WINAPI TestGetThemeSysFont(HTHEME, int, LOGFONTW* font) {
    font->lfHeight = -20;
    return S_OK;
}
__declspec(dllexport) HRESULT WINAPI
    TestGetThemeColor(HTHEME, int part, int state, int property, COLORREF* to) {
    *to = state == CS_ACTIVE ? kActiveText : kInactiveText;
    return part == WP_CAPTION && property == TMT_TEXTCOLOR ? S_OK : E_INVALIDARG;
}
__declspec(dllexport) HRESULT WINAPI TestSetWindowAttribute(HWND, DWORD, LPCVOID, DWORD) {
    return S_OK;
}
__declspec(dllexport) HRESULT WINAPI TestKnowsNoSuchAttribute(HWND, DWORD, PVOID, DWORD) {
    return E_INVALIDARG;
}
__declspec(dllexport) HRESULT WINAPI TestGetColorizationColor(DWORD* colour, BOOL*) {
    *colour = 0xC4C80000; // a dark red
    return S_OK;
}
}

namespace vnxtest {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr int kSize = 30;
constexpr RECT kPlace = {2, 2, kSize - 2, kSize - 2};
constexpr std::uint32_t kUntouched = 0x12345678;

// What is drawn upon: pixels with alpha.
class Canvas {
public:
    Canvas() : m_dc(CreateCompatibleDC(nullptr)) {
        BITMAPINFO format{};
        format.bmiHeader = {sizeof format.bmiHeader, kSize, -kSize, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        m_bitmap = CreateDIBSection(m_dc, &format, DIB_RGB_COLORS, &m_bits, nullptr, 0);
        m_before = SelectObject(m_dc, m_bitmap);
        Clear();
    }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;
    ~Canvas() {
        SelectObject(m_dc, m_before);
        DeleteObject(m_bitmap);
        DeleteDC(m_dc);
    }

    HDC Context() const { return m_dc; }
    void Clear() { std::ranges::fill(Pixels(), kUntouched); }
    std::uint32_t At(int x, int y) const { return Pixels()[static_cast<std::size_t>(y * kSize + x)]; }
    // Pixels with this value, or of any value with this alpha.
    auto Count(std::uint32_t pixel) const { return std::ranges::count(Pixels(), pixel); }
    auto CountAlpha(std::uint32_t alpha) const {
        return std::ranges::count_if(Pixels(), [alpha](std::uint32_t pixel) { return pixel >> 24 == alpha; });
    }

private:
    std::span<std::uint32_t> Pixels() const {
        GdiFlush();
        return {static_cast<std::uint32_t*>(m_bits), std::size_t{kSize} * kSize};
    }

    HDC m_dc;
    void* m_bits = nullptr;
    HBITMAP m_bitmap = nullptr;
    HGDIOBJ m_before = nullptr;
};

constexpr int kPlacePixels = (kSize - 4) * (kSize - 4);

// HKEY_CURRENT_USER as a key of the test's own, where the captions are coloured.
class ColouredCaptions {
public:
    ColouredCaptions() {
        RegCreateKeyW(HKEY_CURRENT_USER, kName, &m_key);
        const DWORD yes = 1;
        RegSetKeyValueW(m_key, L"Software\\Microsoft\\Windows\\DWM", L"ColorPrevalence", REG_DWORD, &yes,
                        sizeof yes);
        RegOverridePredefKey(HKEY_CURRENT_USER, m_key);
    }
    ColouredCaptions(const ColouredCaptions&) = delete;
    ColouredCaptions& operator=(const ColouredCaptions&) = delete;
    ~ColouredCaptions() {
        RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        RegCloseKey(m_key);
        RegDeleteTreeW(HKEY_CURRENT_USER, kName);
    }

private:
    static constexpr const wchar_t* kName = L"VNXTest caption";
    HKEY m_key = nullptr;
};

class VisualStyles : public ::testing::Test {
protected:
    VisualStyles() {
        SetTraceSink([this](std::wstring_view line) { m_trace += line; });
    }
    ~VisualStyles() override {
        SetTraceSink(nullptr);
        EXPECT_EQ(g_openThemes, 0);
    }
    std::wstring Take() { return std::exchange(m_trace, {}); }

    static void Compose(CVisualStylesXP& styles) {
        const HMODULE self = GetModuleHandleW(nullptr);
        styles.IsThemeActive = {self, "TestIsThemeActive", FALSE};
        styles.IsCompositionActive = {self, "TestIsThemeActive", FALSE};
        styles.OpenThemeData = {self, "TestOpenThemeData", nullptr};
        styles.CloseThemeData = {self, "TestCloseThemeData", E_NOTIMPL};
        styles.GetThemeSysFont = {self, "TestGetThemeSysFont", E_NOTIMPL};
        styles.GetThemeColor = {self, "TestGetThemeColor", E_NOTIMPL};
        styles.DwmSetWindowAttribute = {self, "TestSetWindowAttribute", E_NOTIMPL};
        styles.DwmGetWindowAttribute = {self, "TestKnowsNoSuchAttribute", E_NOTIMPL};
        styles.DwmGetColorizationColor = {self, "TestGetColorizationColor", E_NOTIMPL};
    }

    void Draw(CVisualStylesXP& styles, bool active, HelpButtonState state = HelpButtonState::kNormal) {
        WindowsCaptionSystem system(styles, nullptr);
        CaptionDrawing drawing(system);
        drawing.Open();
        m_canvas.Clear();
        system.SetTarget(m_canvas.Context(), kPlace);
        drawing.Draw(active, state);
    }

    Canvas m_canvas;

private:
    std::wstring m_trace;
};

TEST_F(VisualStyles, DrawTheSignInTheCaptionsColours) {
    CVisualStylesXP styles(false);
    Compose(styles);
    Draw(styles, true);
    EXPECT_GT(m_canvas.Count(0xFF0A141E), 5);
    Draw(styles, false);
    EXPECT_GT(m_canvas.Count(0xFF6E7882), 5);
    EXPECT_EQ(m_canvas.At(2, 2), 0U) << "around the sign the caption shows through";
    const ColouredCaptions coloured;
    Draw(styles, true, HelpButtonState::kHot);
    EXPECT_GT(m_canvas.Count(0xFFFFFFFF), 5);
    EXPECT_EQ(m_canvas.At(2, 2), 0x30303030U);
    EXPECT_THAT(Take(), Not(HasSubstr(L"FAILED!")));
}

TEST_F(VisualStyles, AFailingCallIsTracedAndLeavesAClassicButtonThatIsSeen) {
    const ColouredCaptions coloured;
    struct Case {
        const wchar_t* traced;
        std::function<void(CVisualStylesXP&)> fail;
        bool active = true;
    };
    for (const Case& each : {Case{L"DwmSetWindowAttribute( DWMWA_NCRENDERING_POLICY ) FAILED!",
                                  [](CVisualStylesXP& styles) {
                                      styles.DwmSetWindowAttribute = {nullptr, "", E_FAIL};
                                  }},
                             {L"DwmSetWindowAttribute( DWMWA_NCRENDERING_POLICY ) FAILED!",
                              [](CVisualStylesXP& styles) {
                                  styles.IsCompositionActive = {nullptr, "", FALSE};
                                  styles.DwmSetWindowAttribute = {nullptr, "", E_FAIL};
                              }},
                             {L"GetThemeSysFont() FAILED!",
                              [](CVisualStylesXP& styles) {
                                  styles.GetThemeSysFont = {nullptr, "", E_FAIL};
                              }},
                             {L"DwmGetColorizationColor() FAILED!",
                              [](CVisualStylesXP& styles) {
                                  styles.DwmGetColorizationColor = {nullptr, "", E_FAIL};
                              }},
                             {L"DwmGetWindowAttribute( DWMWA_USE_IMMERSIVE_DARK_MODE ) FAILED!",
                              [](CVisualStylesXP& styles) {
                                  styles.DwmGetWindowAttribute = {nullptr, "", E_FAIL};
                              },
                              false}}) {
        CVisualStylesXP styles(false);
        Compose(styles);
        each.fail(styles);
        Take();
        Draw(styles, each.active);
        EXPECT_THAT(Take(), HasSubstr(each.traced));
        EXPECT_EQ(m_canvas.CountAlpha(0xFF), kPlacePixels);
        EXPECT_EQ(m_canvas.At(1, 1), kUntouched);
    }
}

TEST(CaptionGlyph, IsASignWithoutABoxAndAVeilWhenAskedFor) {
    Canvas canvas;
    LOGFONTW font{};
    font.lfHeight = -20;
    for (const std::uint8_t veil : {std::uint8_t{0}, std::uint8_t{0x40}}) {
        canvas.Clear();
        ASSERT_TRUE(DrawCaptionGlyph(canvas.Context(), kPlace, L'?', font,
                                     {.colour = {200, 100, 0}, .veil = {200, 100, 0}, .veilOpacity = veil}));
        EXPECT_EQ(canvas.At(1, 1), kUntouched) << "only its place is drawn upon";
        EXPECT_EQ(canvas.At(2, 2), veil == 0 ? 0U : 0x40321900U);
        const auto opaque = canvas.Count(0xFFC86400);
        EXPECT_TRUE(opaque > 5 && opaque < 200) << opaque;
    }
    canvas.Clear();
    ASSERT_TRUE(
        DrawCaptionGlyph(canvas.Context(), kPlace, L'?', font, {.colour = {250, 0, 0}, .opacity = 0x66}));
    EXPECT_GT(canvas.Count(0x66640000), 5) << "a dimmed sign";
    ClearCaption(canvas.Context(), kPlace);
    EXPECT_EQ(canvas.Count(0), kPlacePixels);
}

} // namespace
} // namespace vnxtest
