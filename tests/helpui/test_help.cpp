// The texts and the registrations: complete, well formed, and found the way the windows look for them.
#include <algorithm>
#include <set>

#include <gtest/gtest.h>

#include "helpui/dialog_ids.h"
#include "helpui/help_keys.h"
#include "helpui/help_registrations.h"
#include "helpui/help_texts.h"
#include "helpui/help_topics.h"
#include "widgets/frame_area.h"

namespace vnxtest {
namespace {

HelpMaps MapsOf(int templateId) {
    HelpMaps maps;
    RegisterWindowHelp(templateId, maps);
    return maps;
}

TEST(HelpTexts, EachHasABodyALineBreakAndATitle) {
    for (const auto table : {ProgramHelpStrings(), StandardHelpStrings()}) {
        for (const HelpString& string : table) {
            if (string.id >= kTextWhatsThisHelp && string.id <= kTextNoHelp) {
                continue; // names and the fallback's body
            }
            EXPECT_EQ(std::ranges::count(string.text, L'\n'), 1) << string.id;
            const HelpText text = SplitHelpText(string.text);
            EXPECT_TRUE(text.body.ends_with(L'.')) << string.id;
            EXPECT_FALSE(text.title.empty() || text.title.ends_with(L'.')) << string.id;
        }
    }
}

TEST(HelpLookup, FallsBackAndRemapsOnceOnly) {
    HelpMaps maps = MapsOf(kDialogParameters);
    const HelpKey unknown = MakeHelpKey(kDialogParameters, 4711);
    EXPECT_EQ(LookUpHelp(maps, unknown).title, L"Help Unavailable");
    EXPECT_EQ(LookUpHelp(maps, unknown).body,
              L"There is no popup balloon help defined for control #4711.\n\nPlease choose another control "
              L"or press F1 for context Help.");
    maps.strings.Register(1, 6001);
    maps.strings.Register(2, 6002);
    maps.remap.Register(3, 2);
    maps.remap.Register(2, 1);
    EXPECT_EQ(LookUpHelp(maps, 3).title, L"Legal Notice"); // 3 -> 2, not on to 1
}

TEST(HelpRegistrations, EachLeadsToATextAndATopicAndEveryTextIsUsed) {
    std::set<int> used;
    for (const int window : {kTemplateFrame, kDialogParameters, kDialogPingWho, kDialogDefaultGateway,
                             kDialogBufferSizes, kDialogAbout, kDialogDebugFlags}) {
        const HelpMaps maps = MapsOf(window);
        EXPECT_TRUE(FindHelp(maps, MakeHelpKey(window)) && maps.topics.Find(MakeHelpKey(window))) << window;
        for (int control = 0; control <= kMaximumControlId; ++control) {
            const HelpKey key = MakeHelpKey(window, control);
            if (const auto id = maps.strings.Find(key)) {
                EXPECT_TRUE(FindHelpString(*id)) << std::hex << key;
                used.insert(*id);
            }
            if (const auto target = maps.remap.Find(key)) {
                EXPECT_TRUE(FindHelp(maps, key)) << std::hex << key << " -> " << *target;
            }
            if (const auto topic = maps.topics.Find(key)) {
                EXPECT_TRUE(FindHelpTopic(static_cast<int>(*topic))) << std::hex << key;
            }
        }
    }
    for (const HelpString& string : ProgramHelpStrings()) {
        EXPECT_TRUE(used.contains(string.id)) << string.id << " is shown by nothing";
    }
    const auto topicOf = [](int window, int control) {
        return LookUpTopic(MapsOf(window), MakeHelpKey(window, control));
    };
    EXPECT_EQ(topicOf(131, 1020), 353);
    EXPECT_EQ(topicOf(131, standard_button::kOk), 347) << "no topic of its own: the dialog's";
    EXPECT_EQ(topicOf(130, 1020), kTopicParametersMode) << "the same number elsewhere";
    EXPECT_EQ(topicOf(999, 0), kTopicContents);
}

} // namespace
} // namespace vnxtest
