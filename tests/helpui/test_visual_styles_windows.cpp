#include "helpui/visual_styles_windows.h"

#include <string>

#include <gmock/gmock.h>

#include "wrenlib/trace.h"

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

TEST_F(VisualStyles, LoadsAndLookUpsAreTracedOnce) {
    CVisualStylesXP styles(false);
    EXPECT_THAT(Take(), HasSubstr(L"LoadLibrary( UxTheme.dll ) succeeded\n"));
    styles.IsCompositionActive();
    EXPECT_EQ(Take(), L"CVisualStylesXP: GetProcAddress( IsCompositionActive ) succeeded\n");
    styles.IsCompositionActive();
    EXPECT_EQ(Take(), L"");
}

TEST_F(VisualStyles, CompositionIsNeverActiveOnWindows11) {
    CVisualStylesXP styles(true);
    Take();
    EXPECT_FALSE(styles.IsCompositionActive());
    EXPECT_THAT(Take(), HasSubstr(L"FAILED! rc = 127 (0x0000007F): "));
}

TEST_F(VisualStyles, WhatIsMissingFailsAndIsTracedInItsOwnWords) {
    CVisualStylesXP styles(true);
    styles.DwmSetWindowAttribute = {nullptr, "DwmSetWindowAttribute", E_NOTIMPL};
    styles.GetThemeSysFont = {nullptr, "GetThemeSysFont", E_NOTIMPL};
    LOGFONTW font{};
    EXPECT_FALSE(styles.SetNonClientRendering(nullptr, false));
    EXPECT_FALSE(styles.AllowNonClientPaint(nullptr));
    EXPECT_FALSE(styles.GetCaptionFont(nullptr, font));
    const std::wstring text = Take();
    constexpr const wchar_t* kCode = L" FAILED! rc = 2147500033 (0x80004001): ";
    for (const std::wstring call : {L"DwmSetWindowAttribute( DWMWA_NCRENDERING_POLICY )",
                                    L"DwmSetWindowAttribute( DWMWA_ALLOW_NCPAINT )", L"GetThemeSysFont()"}) {
        EXPECT_THAT(text, HasSubstr(call + kCode));
    }
}

} // namespace
} // namespace vnxtest
