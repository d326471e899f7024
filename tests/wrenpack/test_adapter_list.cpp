#include <gtest/gtest.h>

#include "wrenpack/offload_settings.h"
#include "wrenpack/scripted_wrenpack.h"

namespace vnxtest {
namespace {

TEST(FetchAdapters, FollowsTheLinksAndSurvivesThoseThatLeadAstray) {
    constexpr std::ptrdiff_t kSize = sizeof(ADAPTER_INFO_LIST_ENTRY);
    const struct {
        std::ptrdiff_t next[3]; // where the links lead, in bytes from the first entry; -1: nowhere
        std::wstring left;
    } cases[] = {
        {{2 * kSize, -1, kSize}, L"acb"}, // the links count, not the array
        {{kSize, 2 * kSize, 0}, L"abc"},  // round and round
        {{3 * kSize, -1, -1}, L"a"},      // behind the array
        {{8, -1, -1}, L"a"},              // between two entries
    };
    ScriptedWrenPack library;
    library.entries = {MakeAdapter(L"a"), MakeAdapter(L"b"), MakeAdapter(L"c")};
    std::vector<ADAPTER_INFO_LIST_ENTRY> list;
    for (const auto& [next, left] : cases) {
        library.links = next;
        EXPECT_EQ(FetchAdapters(library, list).stage, AdapterListStage::Done);
        std::wstring names;
        for (const auto* entry = &list.at(0); entry != nullptr; entry = entry->next) {
            names += FieldText(entry->AdapterName).substr(4);
        }
        EXPECT_EQ(names, left);
    }
    library.entries[0].leadingWord = 0; // not filled
    EXPECT_EQ(FetchAdapters(library, list).stage, AdapterListStage::Done);
    EXPECT_TRUE(list.empty());
    // How every other stage fails is traced; see the tests of hostnet. A part of an entry is one more.
    library.sizeAnswer = 1377;
    library.fillCode = 31;
    EXPECT_EQ(FetchAdapters(library, list).count, 2U);
}

TEST(Fields, AreCutNeedNoTerminatorAndKeepPairsWhole) {
    char16_t field[4];
    SetField(field, 4, L"abcdef");
    EXPECT_EQ(FieldText(field, 4), L"abc");
    std::ranges::fill(field, u'x');
    EXPECT_EQ(FieldText(field, 4), L"xxxx");
    SetField(field, 4, L"a\U0001F50C");
    EXPECT_EQ(FieldText(field, 4), L"a\U0001F50C");
    SetField(field, 3, L"a\U0001F50C"); // room for half a pair is room for none of it
    EXPECT_EQ(FieldText(field, 3), L"a");
}

TEST(LsoFlags, AreEmptyForAnAdapterThatIsNotThere) {
    EXPECT_EQ(GetAdapterLSOFlags(L"NPF_no-such-adapter-here"), 0);
}

} // namespace
} // namespace vnxtest
