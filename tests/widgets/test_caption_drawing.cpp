#include "widgets/caption/caption_drawing.h"

#include <array>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace vnxtest {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Calls = std::vector<std::string>;

constexpr CaptionColour kBlack{0, 0, 0};
constexpr CaptionColour kWhite{255, 255, 255};
constexpr CaptionColour kGrey{120, 120, 120};
constexpr CaptionColour kRed{200, 0, 0};
constexpr CaptionColour kSystemActive{1, 1, 1};
constexpr CaptionColour kSystemInactive{2, 2, 2};
constexpr CaptionColour kHighlight{3, 3, 3};
constexpr CaptionColour kHighlightText{4, 4, 4};

std::string Text(CaptionColour colour) {
    return std::to_string(colour.red) + "," + std::to_string(colour.green) + "," +
           std::to_string(colour.blue);
}

// A system that records what it was asked and what it was to draw, and fails where it is told to.
class RecordedSystem : public CaptionSystem {
public:
    bool IsThemeActive() override { return Call("IsThemeActive"); }
    bool IsCompositionActive() override { return Call("IsCompositionActive") && composed; }
    bool OpenTheme() override {
        const bool opened = Call("OpenTheme");
        openThemes += opened ? 1 : 0;
        return opened;
    }
    void CloseTheme() override {
        Call("CloseTheme");
        --openThemes;
    }
    bool SetNonClientRendering(bool byWindowManager) override {
        return Call(byWindowManager ? "RenderedByWindowManager" : "RenderedByWindow");
    }
    bool AllowNonClientPaint() override { return Call("AllowNonClientPaint"); }
    bool IsHighContrast() override { return Call("IsHighContrast") && highContrast; }
    CaptionColour ColourOfSystem(SystemColour which) override {
        Call("ColourOfSystem");
        return std::array{kSystemActive, kSystemInactive, kHighlight,
                          kHighlightText}[static_cast<std::size_t>(which)];
    }
    bool AreCaptionsColoured() override { return Call("AreCaptionsColoured") && coloured.has_value(); }
    std::optional<CaptionColour> ColourOfCaptions() override {
        return Call("ColourOfCaptions") ? coloured : std::nullopt;
    }
    std::optional<bool> IsCaptionDark() override {
        return Call("IsCaptionDark") ? std::optional(dark) : std::nullopt;
    }
    std::optional<CaptionColour> ColourOfTheme(bool active) override {
        return Call("ColourOfTheme") ? std::optional(active ? themeActive : themeInactive) : std::nullopt;
    }
    CaptionColour SystemColourOfTheme(bool active) override {
        Call("SystemColourOfTheme");
        return active ? kSystemActive : kSystemInactive;
    }
    bool LoadCaptionFont() override { return Call("LoadCaptionFont"); }
    bool DrawSign(const CaptionSign& sign) override {
        return Call("DrawSign " + Text(sign.colour) + " " + std::to_string(sign.opacity) +
                    (sign.veilOpacity == 0
                         ? ""
                         : " over " + Text(sign.veil) + " " + std::to_string(sign.veilOpacity)));
    }
    bool DrawThemePart(HelpButtonState state) override {
        return Call("DrawThemePart " + std::to_string(static_cast<int>(state)));
    }
    void DrawClassic(bool pushed) override { Call(pushed ? "DrawClassic pushed" : "DrawClassic"); }

    Calls Take() { return std::exchange(calls, {}); }

    bool composed = true;
    bool highContrast = false;
    std::optional<CaptionColour> coloured;
    bool dark = false;
    CaptionColour themeActive = kBlack;
    CaptionColour themeInactive = kGrey;
    std::string failing; // the name of the call that fails
    Calls calls;
    int openThemes = 0;

private:
    bool Call(const std::string& call) {
        calls.push_back(call);
        return failing.empty() || call.rfind(failing, 0) != 0;
    }
};

// The last call: what the button looks like.
std::string Drawn(RecordedSystem& system, bool active, HelpButtonState state = HelpButtonState::kNormal) {
    CaptionDrawing drawing(system);
    drawing.Open();
    system.Take();
    drawing.Draw(active, state);
    return system.Take().back();
}

TEST(CaptionDrawing, PreparesTheWindowAnewWhenTheCompositionChanges) {
    RecordedSystem system;
    {
        CaptionDrawing drawing(system);
        drawing.Open();
        EXPECT_THAT(system.Take(), ElementsAre("IsCompositionActive", "IsThemeActive", "OpenTheme",
                                               "RenderedByWindowManager", "AllowNonClientPaint"));
        system.composed = false;
        drawing.Open();
        EXPECT_THAT(system.Take(), ElementsAre("CloseTheme", "IsCompositionActive", "IsThemeActive",
                                               "OpenTheme", "RenderedByWindow"));
        drawing.Draw(true, HelpButtonState::kHot);
        EXPECT_THAT(system.Take(), ElementsAre("DrawThemePart 1")) << "the style has the colours";
        system.composed = true;
        drawing.Open();
        EXPECT_THAT(system.Take(), testing::Contains("RenderedByWindowManager"));
        drawing.Draw(true, HelpButtonState::kNormal);
        EXPECT_THAT(system.Take(), ElementsAre("LoadCaptionFont", "IsHighContrast", "AreCaptionsColoured",
                                               "IsCaptionDark", "ColourOfTheme", "DrawSign 0,0,0 255"));
    }
    EXPECT_EQ(system.openThemes, 0);
}

TEST(CaptionDrawing, TakesTheColoursOfTheStyleActiveAndInactive) {
    RecordedSystem system;
    EXPECT_EQ(Drawn(system, true), "DrawSign 0,0,0 255");
    EXPECT_EQ(Drawn(system, false), "DrawSign 120,120,120 255");
    EXPECT_EQ(Drawn(system, true, HelpButtonState::kHot), "DrawSign 0,0,0 255 over 0,0,0 48");
    EXPECT_EQ(Drawn(system, false, HelpButtonState::kPushed), "DrawSign 120,120,120 255 over 120,120,120 96");
    system.themeInactive = kBlack;
    EXPECT_EQ(Drawn(system, false), "DrawSign 0,0,0 102") << "told apart where the style does not";
    EXPECT_EQ(Drawn(system, false, HelpButtonState::kHot), "DrawSign 0,0,0 255 over 0,0,0 48");
    system.failing = "ColourOfTheme"; // a style without them is no failure
    EXPECT_EQ(Drawn(system, true), "DrawSign 1,1,1 255");
    EXPECT_EQ(Drawn(system, false), "DrawSign 2,2,2 255");
}

TEST(CaptionDrawing, IsReadOnAColouredADarkAndAHighContrastCaption) {
    RecordedSystem system;
    system.coloured = kRed;
    EXPECT_EQ(Drawn(system, true), "DrawSign 255,255,255 255");
    EXPECT_EQ(Drawn(system, true, HelpButtonState::kHot), "DrawSign 255,255,255 255 over 255,255,255 48");
    EXPECT_EQ(Drawn(system, false), "DrawSign 120,120,120 255")
        << "only active windows' captions are coloured";
    system.coloured = CaptionColour{255, 200, 0};
    EXPECT_EQ(Drawn(system, true), "DrawSign 0,0,0 255");
    system.dark = true;
    EXPECT_EQ(Drawn(system, true), "DrawSign 0,0,0 255") << "the accent colour covers the dark one";
    EXPECT_EQ(Drawn(system, false), "DrawSign 255,255,255 102");
    system.coloured.reset();
    EXPECT_EQ(Drawn(system, true), "DrawSign 255,255,255 255");
    system.highContrast = true;
    EXPECT_EQ(Drawn(system, true), "DrawSign 1,1,1 255");
    EXPECT_EQ(Drawn(system, false), "DrawSign 2,2,2 255");
    EXPECT_EQ(Drawn(system, false, HelpButtonState::kPushed), "DrawSign 4,4,4 255 over 3,3,3 255");
}

// Each call that can fail, with and without composition: the classic button is drawn, nothing after it, and
// no theme stays open.
TEST(CaptionDrawing, AnyFailingCallLeadsToTheClassicButton) {
    struct Case {
        const char* call;
        bool composed;
        bool coloured = false;
    };
    for (const Case& each : {Case{"IsThemeActive", true},
                             {"IsThemeActive", false},
                             {"OpenTheme", true},
                             {"OpenTheme", false},
                             {"RenderedByWindowManager", true},
                             {"RenderedByWindow", false},
                             {"AllowNonClientPaint", true},
                             {"LoadCaptionFont", true},
                             {"ColourOfCaptions", true, true},
                             {"IsCaptionDark", true},
                             {"DrawSign", true},
                             {"DrawThemePart", false}}) {
        SCOPED_TRACE(each.call);
        RecordedSystem system;
        system.composed = each.composed;
        system.coloured = each.coloured ? std::optional(kRed) : std::nullopt;
        system.failing = each.call;
        {
            CaptionDrawing drawing(system);
            drawing.Open();
            if (each.call == std::string("AllowNonClientPaint")) {
                EXPECT_EQ(system.calls.back(), "RenderedByWindow") << "else the button would not be seen";
                EXPECT_FALSE(drawing.IsComposed());
            }
            drawing.Draw(true, HelpButtonState::kHot);
            EXPECT_EQ(system.Take().back(), "DrawClassic");
            drawing.Draw(true, HelpButtonState::kPushed);
            EXPECT_EQ(system.Take().back(), "DrawClassic pushed");
            system.failing.clear();
            drawing.Open(); // a change of the theme tries it again
            drawing.Draw(true, HelpButtonState::kNormal);
            EXPECT_THAT(system.Take().back(), HasSubstr(each.composed ? "DrawSign" : "DrawThemePart"));
        }
        EXPECT_EQ(system.openThemes, 0);
    }
}

} // namespace
} // namespace vnxtest
