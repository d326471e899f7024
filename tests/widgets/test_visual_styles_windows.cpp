#include "widgets/caption/visual_styles_windows.h"

#include <algorithm>
#include <cstdint>
#include <string>

#include <gmock/gmock.h>

#include "widgets/caption/caption_glyph_windows.h"
#include "wrenlib/trace.h"

// A system with a visual style, which fails where it is told to. Found by name, as that of the system is.
namespace {
int g_openThemes = 0;
}
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
__declspec(dllexport) HRESULT WINAPI TestSetWindowAttribute(HWND, DWORD, LPCVOID, DWORD) {
    return S_OK;
}
}

namespace vnxtest {
namespace {

using ::testing::HasSubstr;

class VisualStyles : public ::testing::Test {
protected:
    VisualStyles() {
        SetTraceSink([this](std::wstring_view line) { m_trace += line; });
    }
    ~VisualStyles() override { SetTraceSink(nullptr); }
    std::wstring Take() { return std::exchange(m_trace, {}); }

    std::wstring m_trace;
};

// With composition and without it: a failing call of the window manager leads to the classic look.
TEST_F(VisualStyles, AFailingWindowManagerLeavesNoTheme) {
    const HMODULE self = GetModuleHandleW(nullptr);
    for (const bool composed : {false, true}) {
        CVisualStylesXP styles(false);
        styles.IsThemeActive = {self, "TestIsThemeActive", FALSE};
        styles.IsCompositionActive = {self, composed ? "TestIsThemeActive" : "NoSuchFunction", FALSE};
        styles.OpenThemeData = {self, "TestOpenThemeData", nullptr};
        styles.CloseThemeData = {self, "TestCloseThemeData", E_NOTIMPL};
        styles.DwmSetWindowAttribute = {self, "TestSetWindowAttribute", E_NOTIMPL};
        const HTHEME theme = styles.OpenCaptionTheme(nullptr);
        EXPECT_NE(theme, nullptr);
        styles.CloseThemeData(theme);
        styles.DwmSetWindowAttribute = {self, "NoSuchFunction", E_FAIL};
        EXPECT_EQ(styles.OpenCaptionTheme(nullptr), nullptr);
        EXPECT_EQ(g_openThemes, 0);
        EXPECT_THAT(Take(), HasSubstr(composed ? L"DWMWA_ALLOW_NCPAINT ) FAILED!"
                                               : L"DWMWA_NCRENDERING_POLICY ) FAILED!"));
    }
}

TEST(CaptionGlyph, IsASignWithoutABoxAndAVeilWhenAskedFor) {
    constexpr int kSize = 30;
    BITMAPINFO format{};
    format.bmiHeader = {sizeof format.bmiHeader, kSize, -kSize, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    const HDC dc = CreateCompatibleDC(nullptr);
    const HBITMAP bitmap = CreateDIBSection(dc, &format, DIB_RGB_COLORS, &bits, nullptr, 0);
    ASSERT_NE(bitmap, nullptr);
    const HGDIOBJ before = SelectObject(dc, bitmap);
    LOGFONTW font{};
    font.lfHeight = -20;
    for (const BYTE veil : {BYTE{0}, BYTE{0x40}}) {
        std::fill_n(static_cast<std::uint32_t*>(bits), kSize * kSize, 0x12345678U);
        ASSERT_TRUE(DrawCaptionGlyph(dc, {2, 2, kSize - 2, kSize - 2}, L'?', font, RGB(200, 100, 0), veil));
        GdiFlush();
        const auto at = [bits](int x, int y) { return static_cast<std::uint32_t*>(bits)[y * kSize + x]; };
        EXPECT_EQ(at(1, 1), 0x12345678U) << "only its place is drawn upon";
        EXPECT_EQ(at(2, 2), veil == 0 ? 0U : 0x40321900U) << "around the sign the caption shows through";
        int opaque = 0;
        for (int pixel = 0; pixel < kSize * kSize; ++pixel) {
            opaque += static_cast<std::uint32_t*>(bits)[pixel] == 0xFFC86400U ? 1 : 0;
        }
        EXPECT_TRUE(opaque > 5 && opaque < 200) << opaque;
    }
    SelectObject(dc, before);
    DeleteObject(bitmap);
    DeleteDC(dc);
}

} // namespace
} // namespace vnxtest
