#include <gtest/gtest.h>

#include "wrenpack/offload_settings.h"
#include "wrenpack/scripted_wrenpack.h"

namespace vnxtest {
namespace {

std::vector<std::wstring> NamesOf(const std::vector<ADAPTER_INFO_LIST_ENTRY>& list) {
    std::vector<std::wstring> names;
    for (const auto& entry : list) {
        names.push_back(FieldText(entry.AdapterName));
    }
    return names;
}

using Names = std::vector<std::wstring>;

TEST(FetchAdapters, FollowsTheLinksNotTheArray) {
    ScriptedWrenPack library;
    library.entries = {MakeAdapter(L"a"), MakeAdapter(L"b"), MakeAdapter(L"c")};
    library.tamper = [](ADAPTER_INFO_LIST_ENTRY* list) {
        list[0].next = &list[2];
        list[2].next = &list[1];
        list[1].next = nullptr;
    };
    std::vector<ADAPTER_INFO_LIST_ENTRY> list;
    EXPECT_EQ(FetchAdapters(library, list).stage, AdapterListStage::Done);
    EXPECT_EQ(NamesOf(list), (Names{L"NPF_a", L"NPF_c", L"NPF_b"}));
    EXPECT_EQ(list[0].next, &list[1]);
    EXPECT_EQ(list[1].next, &list[2]);
    EXPECT_EQ(list[2].next, nullptr);
}

TEST(FetchAdapters, SurvivesLinksThatLeadAstray) {
    ScriptedWrenPack library;
    library.entries = {MakeAdapter(L"a"), MakeAdapter(L"b")};
    std::vector<ADAPTER_INFO_LIST_ENTRY> list;

    library.tamper = [](ADAPTER_INFO_LIST_ENTRY* entries) { entries[1].next = entries; }; // round and round
    FetchAdapters(library, list);
    EXPECT_EQ(list.size(), 2U);

    library.tamper = [](ADAPTER_INFO_LIST_ENTRY* entries) {
        entries[0].next = entries + 2;
    }; // behind the array
    FetchAdapters(library, list);
    EXPECT_EQ(list.size(), 1U);

    library.tamper = [](ADAPTER_INFO_LIST_ENTRY* entries) {
        entries[0].next = reinterpret_cast<ADAPTER_INFO_LIST_ENTRY*>(reinterpret_cast<char*>(entries) + 8);
    };
    FetchAdapters(library, list);
    EXPECT_EQ(list.size(), 1U);

    library.tamper = [](ADAPTER_INFO_LIST_ENTRY* entries) { entries[0].leadingWord = 0; }; // not filled
    EXPECT_EQ(FetchAdapters(library, list).stage, AdapterListStage::Done);
    EXPECT_TRUE(list.empty());
}

TEST(FetchAdapters, NamesTheStageThatFailed) {
    std::vector<ADAPTER_INFO_LIST_ENTRY> list;
    ScriptedWrenPack library;
    library.sizeCode = 2;
    AdapterListOutcome outcome = FetchAdapters(library, list); // false, and no size
    EXPECT_EQ(outcome.stage, AdapterListStage::SizeQuery);
    EXPECT_EQ(outcome.code, 2U);
    EXPECT_EQ(outcome.size, 0U);

    library.sizeSucceeds = true;
    library.sizeAnswer = 1376;
    outcome = FetchAdapters(library, list);
    EXPECT_EQ(outcome.stage, AdapterListStage::SizeQuery);
    EXPECT_EQ(outcome.size, 1376U);

    library.sizeSucceeds = false;
    library.sizeAnswer = 0xFFFFFFFF;
    outcome = FetchAdapters(library, list);
    EXPECT_EQ(outcome.stage, AdapterListStage::Allocation);
    EXPECT_EQ(outcome.count, 3121343U);
    EXPECT_EQ(outcome.code, kErrorNotEnoughMemory);

    library.sizeAnswer = 1377; // two entries
    library.fillCode = 31;
    outcome = FetchAdapters(library, list);
    EXPECT_EQ(outcome.stage, AdapterListStage::Fill);
    EXPECT_EQ(outcome.count, 2U);
    EXPECT_EQ(outcome.code, 31U);
    EXPECT_TRUE(list.empty());
}

TEST(Fields, AreCutAndNeedNoTerminator) {
    char16_t field[4];
    SetField(field, 4, L"abcdef");
    EXPECT_EQ(FieldText(field, 4), L"abc");
    std::ranges::fill(field, u'x');
    EXPECT_EQ(FieldText(field, 4), L"xxxx");
}

TEST(Fields, KeepCharactersOutsideTheBasicPlane) {
    char16_t field[8];
    SetField(field, 8, L"a\U0001F50Cb");
    EXPECT_EQ(FieldText(field, 8), L"a\U0001F50Cb");
    // Room for half a pair is room for none of it.
    SetField(field, 3, L"a\U0001F50C");
    EXPECT_EQ(FieldText(field, 3), L"a");
}

TEST(LsoFlags, AreEmptyForAnAdapterThatIsNotThere) {
    EXPECT_EQ(GetAdapterLSOFlags(L"NPF_no-such-adapter-here"), 0);
    EXPECT_EQ(GetAdapterLSOFlags(L"NPF_"), 0);
    EXPECT_EQ(GetAdapterLSOFlags(L"x"), 0);
    EXPECT_EQ(kLsoEnabledMask, kLsoV1Ipv4Enabled | kLsoV1Ipv6Enabled | kLsoV2Ipv4Enabled | kLsoV2Ipv6Enabled);
}

} // namespace
} // namespace vnxtest
