// The calls of Windows that the help button of a frame is drawn with. User-interface thread.
#pragma once

#include <windows.h>

#include <uxtheme.h>

#include "widgets/caption/caption_drawing.h"

namespace vnxtest {

class CVisualStylesXP;

class WindowsCaptionSystem final : public CaptionSystem {
public:
    // For the caption of `window`. `styles` and `window` outlive this.
    WindowsCaptionSystem(CVisualStylesXP& styles, HWND window) : m_styles(styles), m_window(window) {}

    // Where the next button is drawn: the window's device context, and the place in the window.
    void SetTarget(HDC dc, const RECT& place) {
        m_dc = dc;
        m_place = place;
    }

    bool IsThemeActive() override;
    bool IsCompositionActive() override;
    bool OpenTheme() override;
    void CloseTheme() override;
    bool SetNonClientRendering(bool byWindowManager) override;
    bool AllowNonClientPaint() override;
    bool IsHighContrast() override;
    CaptionColour ColourOfSystem(SystemColour which) override;
    bool AreCaptionsColoured() override;
    std::optional<CaptionColour> ColourOfCaptions() override;
    std::optional<bool> IsCaptionDark() override;
    std::optional<CaptionColour> ColourOfTheme(bool active) override;
    CaptionColour SystemColourOfTheme(bool active) override;
    bool LoadCaptionFont() override;
    bool DrawSign(const CaptionSign& sign) override;
    bool DrawThemePart(HelpButtonState state) override;
    void DrawClassic(bool pushed) override;

private:
    CVisualStylesXP& m_styles;
    HWND m_window;
    HTHEME m_theme = nullptr;
    LOGFONTW m_font{};
    HDC m_dc = nullptr;
    RECT m_place{};
};

} // namespace vnxtest
