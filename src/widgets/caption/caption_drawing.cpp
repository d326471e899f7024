#include "widgets/caption/caption_drawing.h"

namespace vnxtest {

namespace {

constexpr CaptionColour kBlack{0, 0, 0};
constexpr CaptionColour kWhite{255, 255, 255};
constexpr std::uint8_t kOpaque = 255;
constexpr std::uint8_t kHotVeil = 0x30;
constexpr std::uint8_t kPushedVeil = 0x60;
// The window manager's own buttons are so pale in an inactive caption: grey 0x99 on white.
constexpr std::uint8_t kDimmed = 0x66;

// Black is better to read on it than white. The weights are those that Windows itself goes by.
bool IsLight(CaptionColour colour) {
    return 5 * colour.green + 2 * colour.red + colour.blue > 8 * 128;
}

} // namespace

void CaptionDrawing::Close() {
    if (m_themed) {
        m_system.CloseTheme();
        m_themed = false;
    }
}

void CaptionDrawing::Open() {
    Close();
    m_composed = m_system.IsCompositionActive();
    m_themed = m_system.IsThemeActive() && m_system.OpenTheme();
    if (m_composed && !(m_system.SetNonClientRendering(true) && m_system.AllowNonClientPaint())) {
        m_composed = false;
        Close();
        // That caption would hide the classic button, too.
        m_system.SetNonClientRendering(false);
    } else if (!m_composed && m_themed && !m_system.SetNonClientRendering(false)) {
        Close();
    }
}

void CaptionDrawing::Draw(bool active, HelpButtonState state) {
    const bool drawn = m_themed && (m_composed ? DrawComposed(active, state) : m_system.DrawThemePart(state));
    if (!drawn) {
        m_system.DrawClassic(state == HelpButtonState::kPushed);
    }
}

// The window manager's buttons have no frame. So this one is a question mark in the caption's font, with a
// veil under the mouse pointer.
bool CaptionDrawing::DrawComposed(bool active, HelpButtonState state) {
    if (!m_system.LoadCaptionFont()) {
        return false;
    }
    const std::optional<CaptionSign> sign = Sign(active, state);
    return sign && m_system.DrawSign(*sign);
}

std::optional<CaptionSign> CaptionDrawing::Sign(bool active, HelpButtonState state) {
    if (m_system.IsHighContrast()) {
        return HighContrastSign(active, state);
    }
    std::optional<CaptionSign> sign = PlainSign(active);
    if (sign && state != HelpButtonState::kNormal) {
        sign->opacity = kOpaque; // under the mouse the button of an inactive window can be pressed as well
        sign->veil = sign->colour;
        sign->veilOpacity = state == HelpButtonState::kPushed ? kPushedVeil : kHotVeil;
    }
    return sign;
}

// Nothing shines through here: only these pairs of colours are certain to be told apart.
CaptionSign CaptionDrawing::HighContrastSign(bool active, HelpButtonState state) {
    if (state == HelpButtonState::kNormal) {
        return {.colour = m_system.ColourOfSystem(active ? SystemColour::kCaptionText
                                                         : SystemColour::kInactiveCaptionText)};
    }
    return {.colour = m_system.ColourOfSystem(SystemColour::kHighlightText),
            .veil = m_system.ColourOfSystem(SystemColour::kHighlight),
            .veilOpacity = kOpaque};
}

std::optional<CaptionSign> CaptionDrawing::PlainSign(bool active) {
    if (active && m_system.AreCaptionsColoured()) {
        const std::optional<CaptionColour> caption = m_system.ColourOfCaptions();
        return caption ? std::optional(CaptionSign{.colour = IsLight(*caption) ? kBlack : kWhite})
                       : std::nullopt;
    }
    const std::optional<bool> dark = m_system.IsCaptionDark();
    if (!dark) {
        return std::nullopt;
    }
    if (*dark) {
        return CaptionSign{.colour = kWhite, .opacity = active ? kOpaque : kDimmed};
    }
    return ThemeSign(active);
}

CaptionSign CaptionDrawing::ThemeSign(bool active) {
    const auto colour = [this](bool ofActive) {
        const std::optional<CaptionColour> own = m_system.ColourOfTheme(ofActive);
        return own ? *own : m_system.SystemColourOfTheme(ofActive);
    };
    CaptionSign sign{.colour = colour(active)};
    // Some styles give one colour to both, and the window manager dims what it draws itself.
    if (!active && sign.colour == colour(true)) {
        sign.opacity = kDimmed;
    }
    return sign;
}

} // namespace vnxtest
