// The standard texts and a window's table: well formed, and found the way the windows look for them.
#include <gtest/gtest.h>

#include "helpui/help_keys.h"
#include "helpui/standard_help.h"
#include "widgets/caption/frame_area.h"

namespace vnxtest {
namespace {

constexpr HelpTopic kWindowTopic{320, "window.html"};
constexpr HelpTopic kEntryTopic{321, "window.html#entry"};
constexpr ControlHelp kControlHelp[] = {
    {{kWindowItself}, 1, L"Window", L"This is a window."},
    {{1020, 1021}, 2, L"Entry", L"Enter a value.", kEntryTopic},
    {{1022}, 3, L"Box", L"Check this box."},
};
constexpr StandardTextUse kUses[] = {{frame_area::kTitleBar, 30151}, {1023, 30135}};
constexpr HelpTable kHelp{131, kWindowTopic, kControlHelp, kUses};

TEST(HelpTexts, EachStandardTextHasABodyAndATitle) {
    int last = 0;
    for (const StandardHelp& help : StandardHelpTexts()) {
        EXPECT_GT(help.number, last);
        last = help.number;
        EXPECT_TRUE(help.text.ends_with(L'.')) << help.number;
        EXPECT_FALSE(help.title.empty() || help.title.ends_with(L'.')) << help.number;
    }
}

TEST(HelpLookup, FindsTheControlsTextElseTheStandardOneAndTheTopicElseTheWindows) {
    const HelpMaps maps = RegisterHelp(kHelp);
    const struct {
        int control;
        const wchar_t* title;
        HelpTopic topic;
    } cases[] = {
        {kWindowItself, L"Window", kWindowTopic},
        {1020, L"Entry", kEntryTopic},
        {1021, L"Entry", kEntryTopic},                                   // its twin
        {1022, L"Box", kWindowTopic},                                    // no topic of its own
        {1023, L"Window Pane", kWindowTopic},                            // a standard text
        {standard_button::kOk, L"'OK' Button", kWindowTopic},            // which every window has
        {frame_area::kTitleBar, L"Application Title Bar", kWindowTopic}, // and this one in its own way
    };
    for (const auto& each : cases) {
        const HelpKey key = MakeHelpKey(131, each.control);
        EXPECT_EQ(LookUpHelp(maps, key).title, each.title) << each.control;
        EXPECT_EQ(LookUpTopic(maps, key).page, each.topic.page) << each.control;
    }
    const HelpKey elsewhere = MakeHelpKey(132, 1020);
    EXPECT_EQ(LookUpHelp(maps, elsewhere).title, L"Help Unavailable");
    EXPECT_EQ(LookUpTopic(maps, elsewhere).number, kContentsTopic.number);
}

TEST(HelpLookup, FallsBackAndRemapsOnceOnly) {
    HelpMaps maps = RegisterHelp(kHelp);
    EXPECT_EQ(
        LookUpHelp(maps, MakeHelpKey(131, 4711)).body,
        L"There is no popup balloon help defined for control #4711.\n\nPlease choose another control or press F1 for context Help.");
    maps.strings.Register(1, 2);
    maps.strings.Register(2, 3);
    maps.remap.Register(3, 2);
    maps.remap.Register(2, 1);
    EXPECT_EQ(LookUpHelp(maps, 3).title, L"Box"); // 3 -> 2, not on to 1
}

} // namespace
} // namespace vnxtest
