// How the help button of a frame is drawn in the caption: all decisions, and no call of the system. Those
// stand behind CaptionSystem, so that every decision, and the failure of every call, can be tried on each
// platform. User-interface thread.
#pragma once

#include <cstdint>
#include <optional>

namespace vnxtest {

struct CaptionColour {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
    bool operator==(const CaptionColour&) const = default;
};

// The system's own colours: those of captions in high contrast, and what it selects with.
enum class SystemColour { kCaptionText, kInactiveCaptionText, kHighlight, kHighlightText };

enum class HelpButtonState { kNormal, kHot, kPushed };

// A sign over a veil. Opacities: 0 lets the window manager's caption show through, 255 covers it.
struct CaptionSign {
    CaptionColour colour{};
    std::uint8_t opacity = 255;
    CaptionColour veil{};
    std::uint8_t veilOpacity = 0;
    bool operator==(const CaptionSign&) const = default;
};

// The calls of the system. What can fail says so (false, nullopt), after a line in the trace.
class CaptionSystem {
public:
    virtual ~CaptionSystem() = default;

    virtual bool IsThemeActive() = 0;
    virtual bool IsCompositionActive() = 0;
    // The visual style of the window's caption, held until it is closed.
    virtual bool OpenTheme() = 0;
    virtual void CloseTheme() = 0;
    // Who draws the caption: the window manager or, with the current visual style, the window's own drawing.
    virtual bool SetNonClientRendering(bool byWindowManager) = 0;
    // The window manager shows what is drawn into its caption.
    virtual bool AllowNonClientPaint() = 0;

    virtual bool IsHighContrast() = 0;
    virtual CaptionColour ColourOfSystem(SystemColour which) = 0;
    // The user wants the captions of active windows in the accent colour, which is ColourOfCaptions.
    virtual bool AreCaptionsColoured() = 0;
    virtual std::optional<CaptionColour> ColourOfCaptions() = 0;
    // The window's caption is a dark one. A window manager that knows no dark captions draws light ones.
    virtual std::optional<bool> IsCaptionDark() = 0;
    // The colour that the visual style gives to the caption's text, nullopt if it gives none; and the one
    // that it gives to the system for it.
    virtual std::optional<CaptionColour> ColourOfTheme(bool active) = 0;
    virtual CaptionColour SystemColourOfTheme(bool active) = 0;

    // The caption's font, with which the next sign is drawn.
    virtual bool LoadCaptionFont() = 0;
    virtual bool DrawSign(const CaptionSign& sign) = 0;
    // The button of the visual style, background and sign.
    virtual bool DrawThemePart(HelpButtonState state) = 0;
    // The classic button, covering what is behind it.
    virtual void DrawClassic(bool pushed) = 0;
};

class CaptionDrawing {
public:
    explicit CaptionDrawing(CaptionSystem& system) : m_system(system) {}
    CaptionDrawing(const CaptionDrawing&) = delete;
    CaptionDrawing& operator=(const CaptionDrawing&) = delete;
    ~CaptionDrawing() { Close(); }

    // Prepares the window: at its beginning, and anew when the theme or the composition has changed. With
    // composition the window manager's caption stays and lets the drawing through; without, the window's
    // own drawing paints it. After a failed call, or without a theme, Draw draws the classic button.
    void Open();

    bool IsComposed() const { return m_composed; }

    // `active`: the caption is that of an active window.
    void Draw(bool active, HelpButtonState state);

private:
    void Close();
    bool DrawComposed(bool active, HelpButtonState state);
    std::optional<CaptionSign> Sign(bool active, HelpButtonState state);
    CaptionSign HighContrastSign(bool active, HelpButtonState state);
    // The sign as it is without the mouse; nullopt if a call failed.
    std::optional<CaptionSign> PlainSign(bool active);
    CaptionSign ThemeSign(bool active);

    CaptionSystem& m_system;
    bool m_themed = false; // a theme is open, and the window is prepared
    bool m_composed = false;
};

} // namespace vnxtest
