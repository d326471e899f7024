// The standard texts and a window's table: well formed, and found the way the windows look for them.
#include <gtest/gtest.h>

#include "helpui/help_keys.h"
#include "helpui/standard_help.h"

namespace vnxtest {
namespace {

TEST(HelpTexts, EachStandardTextHasABodyAndATitle) {
    int last = 0;
    for (const StandardHelp& help : StandardHelpTexts()) {
        EXPECT_GT(help.number, last);
        last = help.number;
        EXPECT_TRUE(help.text.ends_with(L'.')) << help.number;
        EXPECT_FALSE(help.title.empty() || help.title.ends_with(L'.')) << help.number;
    }
}

// What each control of the real dialogs finds: tests/ui/test_help.py.
TEST(HelpLookup, FallsBackAndRemapsOnceOnly) {
    static constexpr ControlHelp kControls[] = {{{1020}, 2, L"Entry", L"Enter a value."},
                                                {{1022}, 3, L"Box", L"Check this box."}};
    static constexpr HelpTable kHelp{131, {320, "window.html"}, kControls, {}};
    HelpMaps maps = RegisterHelp(kHelp);
    EXPECT_EQ(
        LookUpHelp(maps, MakeHelpKey(131, 4711)).body,
        L"There is no popup balloon help defined for control #4711.\n\nPlease choose another control or press F1 for context Help.");
    EXPECT_EQ(LookUpTopic(maps, MakeHelpKey(132, 1020)).number, kContentsTopic.number);
    maps.strings.Register(1, 2);
    maps.strings.Register(2, 3);
    maps.remap.Register(3, 2);
    maps.remap.Register(2, 1);
    EXPECT_EQ(LookUpHelp(maps, 3).title, L"Box"); // 3 -> 2, not on to 1
}

} // namespace
} // namespace vnxtest
