// The texts and the registrations: complete, well formed, and found the way the windows look for them.
#include <algorithm>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "helpui/dialog_ids.h"
#include "helpui/help_keys.h"
#include "helpui/help_registrations.h"
#include "helpui/help_texts.h"
#include "helpui/help_topics.h"

namespace vnxtest {
namespace {

HelpMaps MapsOf(int templateId) {
    HelpMaps maps;
    RegisterWindowHelp(templateId, maps);
    return maps;
}

std::wstring TitleOf(const HelpMaps& maps, int templateId, int controlId) {
    return LookUpHelp(maps, MakeHelpKey(templateId, controlId)).title;
}

TEST(HelpTexts, EveryNumberOfTheProgramsRangesHasItsText) {
    const std::pair<int, int> ranges[] = {{6000, 6004},   {6100, 6107},   {6200, 6207},   {6300, 6301},
                                          {6400, 6402},   {6500, 6507},   {30100, 30101}, {30103, 30104},
                                          {30110, 30116}, {30130, 30135}, {30140, 30146}, {30150, 30158},
                                          {30170, 30178}, {30190, 30196}};
    for (const auto& [first, last] : ranges) {
        for (int id = first; id <= last; ++id) {
            EXPECT_TRUE(FindHelpString(id)) << id;
        }
    }
    EXPECT_FALSE(FindHelpString(5999));
    EXPECT_FALSE(FindHelpString(30102));
    EXPECT_FALSE(FindHelpString(0));
}

TEST(HelpTexts, TablesAreOrderedAndEachTextIsABodyALineBreakAndATitle) {
    for (const auto table : {ProgramHelpStrings(), StandardHelpStrings()}) {
        EXPECT_TRUE(std::ranges::is_sorted(table, std::less_equal<>(), &HelpString::id));
        for (const HelpString& string : table) {
            if (string.id >= kTextWhatsThisHelp && string.id <= kTextNoHelp) {
                continue; // names and the fallback's body
            }
            EXPECT_EQ(std::ranges::count(string.text, L'\n'), 1) << string.id;
            const HelpText text = SplitHelpText(string.text);
            EXPECT_TRUE(text.body.ends_with(L'.')) << string.id;
            EXPECT_FALSE(text.title.empty() || text.title.ends_with(L'.') || text.title.starts_with(L' '))
                << string.id;
            EXPECT_EQ(text.body.find(L"  "), std::wstring::npos) << string.id;
        }
    }
}

TEST(HelpTexts, SplitsAtTheFirstLineBreakOnly) {
    EXPECT_EQ(SplitHelpText(L"one\ntwo\nthree").body, L"one");
    EXPECT_EQ(SplitHelpText(L"one\ntwo\nthree").title, L"two\nthree");
    EXPECT_EQ(SplitHelpText(L"alone").body, L"alone");
    EXPECT_EQ(SplitHelpText(L"alone").title, L"");
    EXPECT_EQ(SplitHelpText(L"").body, L"");
}

TEST(HelpTexts, TextsWithAFixedWording) {
    const HelpMaps ping = MapsOf(kDialogPingWho);
    const HelpText timeout = LookUpHelp(ping, MakeHelpKey(131, 1013));
    EXPECT_EQ(timeout.title, L"Timeout");
    EXPECT_EQ(timeout.body,
              L"Enter here the maximum amount of time in milliseconds each ping should take before getting "
              L"a response. The default is 1000 milliseconds (i.e. one second).");
    EXPECT_EQ(LookUpHelp(ping, MakeHelpKey(131)).title, L"Ping Test");
    EXPECT_EQ(TitleOf(ping, 131, standard_button::kOk), L"'OK' Button");
    EXPECT_EQ(TitleOf(ping, 131, standard_button::kCancel), L"'Cancel' Button");
    EXPECT_EQ(TitleOf(ping, 131, standard_button::kHelp), L"'Help' Button");
    EXPECT_NE(FindHelpString(6204)->find(L"02-00-5E-80-00-04"), std::wstring_view::npos);
}

TEST(HelpLookup, FallsBackForAControlWithoutText) {
    const HelpText text = LookUpHelp(MapsOf(kDialogParameters), MakeHelpKey(kDialogParameters, 4711));
    EXPECT_EQ(text.title, L"Help Unavailable");
    EXPECT_EQ(
        text.body,
        L"There is no popup balloon help defined for control #4711.\n\nPlease choose another control or "
        L"press F1 for context Help.");
    EXPECT_FALSE(FindHelp(MapsOf(kDialogParameters), MakeHelpKey(kDialogParameters, 4711)));
}

TEST(HelpLookup, RemapsOnceOnly) {
    HelpMaps maps = MapsOf(kDialogAbout);
    maps.strings.Register(1, 6001);
    maps.strings.Register(2, 6002);
    maps.remap.Register(3, 2);
    maps.remap.Register(2, 1);
    EXPECT_EQ(LookUpHelp(maps, 3).title, L"Legal Notice"); // 3 -> 2, not on to 1
    EXPECT_EQ(LookUpHelp(maps, 2).title, L"Version");
    maps.remap.Register(4, 99);
    EXPECT_FALSE(FindHelp(maps, 4)); // mapped to what is not registered
    maps.strings.Register(5, 12345);
    EXPECT_FALSE(FindHelp(maps, 5)); // registered with a text that does not exist
}

TEST(HelpLookup, TheSameControlNumberMeansDifferentControlsInDifferentWindows) {
    EXPECT_EQ(TitleOf(MapsOf(kDialogParameters), kDialogParameters, 1020), L"Tap");
    EXPECT_EQ(TitleOf(MapsOf(kDialogPingWho), kDialogPingWho, 1020), L"To");
    EXPECT_EQ(TitleOf(MapsOf(kDialogBufferSizes), kDialogBufferSizes, 1020), L"DLL Buffer Size");
}

TEST(HelpRegistrations, EveryRegistrationLeadsToATextAndEveryTextIsUsed) {
    std::set<int> used;
    for (const int window : WindowsWithHelp()) {
        const HelpMaps maps = MapsOf(window);
        EXPECT_TRUE(FindHelp(maps, MakeHelpKey(window))) << window;
        for (const auto& [key, id] : maps.strings.All()) {
            EXPECT_TRUE(FindHelpString(id)) << std::hex << key;
            used.insert(id);
        }
        for (const auto& [key, target] : maps.remap.All()) {
            EXPECT_TRUE(FindHelp(maps, key)) << std::hex << key << " -> " << target;
        }
    }
    for (const HelpString& string : ProgramHelpStrings()) {
        EXPECT_TRUE(used.contains(string.id)) << string.id << " is shown by nothing";
    }
}

TEST(HelpRegistrations, TheFrameHasItsOwnTitleBarAndTheStandardParts) {
    const HelpMaps frame = MapsOf(kTemplateFrame);
    EXPECT_EQ(TitleOf(frame, kTemplateFrame, frame_area::kTitleBar), L"Application Title Bar");
    EXPECT_EQ(TitleOf(MapsOf(kDialogAbout), kDialogAbout, frame_area::kTitleBar), L"Title Bar");
    EXPECT_EQ(TitleOf(frame, kTemplateFrame, frame_control::kStatusBar), L"Status Bar");
    EXPECT_EQ(TitleOf(frame, kTemplateFrame, frame_control::kOutputPane), L"Window Pane");
    EXPECT_EQ(TitleOf(frame, kTemplateFrame, frame_area::kBottomRightCorner), L"Bottom Right Corner");
}

TEST(HelpTopics, ControlsHaveTheirTopicElseTheirWindowsElseTheContents) {
    const HelpMaps ping = MapsOf(kDialogPingWho);
    const std::pair<int, int> topics[] = {{0, 347},    {1009, 350}, {1010, 351}, {1020, 353},
                                          {1015, 355}, {1016, 355}, {1007, 360}, {1008, 360},
                                          {1013, 365}, {1014, 365}, {1011, 371}, {1012, 371}};
    for (const auto& [control, topic] : topics) {
        EXPECT_EQ(LookUpTopic(ping, MakeHelpKey(131, control)), topic) << control;
    }
    EXPECT_EQ(LookUpTopic(ping, MakeHelpKey(131, standard_button::kOk)), 347);
    EXPECT_EQ(LookUpTopic(HelpMaps(), MakeHelpKey(131, 1009)), kTopicContents);
}

} // namespace
} // namespace vnxtest
