#include "widgets/caption/caption_system_windows.h"

#include <utility>

#include <vssym32.h>

#include "widgets/caption/caption_glyph_windows.h"
#include "widgets/caption/visual_styles_windows.h"

namespace vnxtest {

namespace {

CaptionColour FromSystem(COLORREF colour) {
    return {GetRValue(colour), GetGValue(colour), GetBValue(colour)};
}

int IndexOf(SystemColour which) {
    switch (which) {
    case SystemColour::kCaptionText:
        return COLOR_CAPTIONTEXT;
    case SystemColour::kInactiveCaptionText:
        return COLOR_INACTIVECAPTIONTEXT;
    case SystemColour::kHighlight:
        return COLOR_HIGHLIGHT;
    case SystemColour::kHighlightText:
        break;
    }
    return COLOR_HIGHLIGHTTEXT;
}

} // namespace

bool WindowsCaptionSystem::IsThemeActive() {
    return m_styles.IsThemeActive() != FALSE;
}

bool WindowsCaptionSystem::IsCompositionActive() {
    return m_styles.IsCompositionActive() != FALSE;
}

bool WindowsCaptionSystem::OpenTheme() {
    m_theme = m_styles.OpenThemeData(m_window, L"WINDOW");
    return m_theme != nullptr;
}

void WindowsCaptionSystem::CloseTheme() {
    m_styles.CloseThemeData(std::exchange(m_theme, nullptr));
}

bool WindowsCaptionSystem::SetNonClientRendering(bool byWindowManager) {
    return m_styles.SetNonClientRendering(m_window, byWindowManager);
}

bool WindowsCaptionSystem::AllowNonClientPaint() {
    return m_styles.AllowNonClientPaint(m_window);
}

bool WindowsCaptionSystem::IsHighContrast() {
    HIGHCONTRASTW contrast{};
    contrast.cbSize = sizeof contrast;
    return SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof contrast, &contrast, 0) != FALSE &&
           (contrast.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

CaptionColour WindowsCaptionSystem::ColourOfSystem(SystemColour which) {
    return FromSystem(GetSysColor(IndexOf(which)));
}

bool WindowsCaptionSystem::AreCaptionsColoured() {
    // "Title bars and window borders" of the settings page "Colours", which no call tells.
    DWORD coloured = 0;
    DWORD size = sizeof coloured;
    return RegGetValueW(HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows\\DWM", L"ColorPrevalence",
                        RRF_RT_REG_DWORD, nullptr, &coloured, &size) == ERROR_SUCCESS &&
           coloured != 0;
}

std::optional<CaptionColour> WindowsCaptionSystem::ColourOfCaptions() {
    const std::optional<DWORD> colour = m_styles.GetColorizationColour();
    const auto part = [&colour](int shift) { return static_cast<std::uint8_t>(*colour >> shift & 0xFF); };
    return colour ? std::optional(CaptionColour{part(16), part(8), part(0)}) : std::nullopt;
}

std::optional<bool> WindowsCaptionSystem::IsCaptionDark() {
    return m_styles.IsCaptionDark(m_window);
}

std::optional<CaptionColour> WindowsCaptionSystem::ColourOfTheme(bool active) {
    // A style need not have it: no failure to be traced.
    COLORREF colour = 0;
    return SUCCEEDED(m_styles.GetThemeColor(m_theme, WP_CAPTION, active ? CS_ACTIVE : CS_INACTIVE,
                                            TMT_TEXTCOLOR, &colour))
               ? std::optional(FromSystem(colour))
               : std::nullopt;
}

CaptionColour WindowsCaptionSystem::SystemColourOfTheme(bool active) {
    return FromSystem(
        m_styles.GetThemeSysColor(m_theme, active ? COLOR_CAPTIONTEXT : COLOR_INACTIVECAPTIONTEXT));
}

bool WindowsCaptionSystem::LoadCaptionFont() {
    return m_styles.GetCaptionFont(m_theme, m_font);
}

bool WindowsCaptionSystem::DrawSign(const CaptionSign& sign) {
    return DrawCaptionGlyph(m_dc, m_place, L'?', m_font, sign);
}

bool WindowsCaptionSystem::DrawThemePart(HelpButtonState state) {
    const int number = state == HelpButtonState::kPushed ? HBS_PUSHED
                       : state == HelpButtonState::kHot  ? HBS_HOT
                                                         : HBS_NORMAL;
    return SUCCEEDED(m_styles.DrawThemeBackground(m_theme, m_dc, WP_HELPBUTTON, number, &m_place, nullptr));
}

void WindowsCaptionSystem::DrawClassic(bool pushed) {
    DrawClassicHelpButton(m_dc, m_place, pushed);
}

} // namespace vnxtest
