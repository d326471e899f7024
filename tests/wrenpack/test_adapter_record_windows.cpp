#include <algorithm>
#include <array>
#include <cstring>

#include <gtest/gtest.h>

#include "wrenlib/errors.h"
#include "wrenpack/adapter_record_windows.h"

namespace vnxtest {
namespace {

using Entries = std::vector<ADAPTER_INFO_LIST_ENTRY>;

ADAPTER_INFO_LIST_ENTRY MakeEntry(const std::wstring& name) {
    ADAPTER_INFO_LIST_ENTRY entry;
    entry.leadingWord = 1;
    (L"NPF_" + name).copy(entry.AdapterName, 255);
    return entry;
}

// A library that has these entries, each with the link that stands in `next`: bytes from the first entry, -1:
// none.
GetAdaptersListFunction Library(const Entries& entries, const std::vector<std::ptrdiff_t>& next) {
    return [&entries, &next](ADAPTER_INFO_LIST_ENTRY* list, std::uint32_t* size) {
        if (list == nullptr) {
            *size = static_cast<std::uint32_t>(entries.size() * sizeof *list);
            return false;
        }
        std::ranges::copy(entries, list);
        for (std::size_t i = 0; i < entries.size(); ++i) {
            auto* const target = reinterpret_cast<char*>(list) + next[i];
            list[i].next = next[i] < 0 ? nullptr : reinterpret_cast<ADAPTER_INFO_LIST_ENTRY*>(target);
        }
        return true;
    };
}

TEST(FetchAdapters, FollowsTheLinksAndSurvivesThoseThatLeadAstray) {
    constexpr std::ptrdiff_t kSize = sizeof(ADAPTER_INFO_LIST_ENTRY);
    const struct {
        std::vector<std::ptrdiff_t> next;
        std::wstring left;
    } cases[] = {
        {{2 * kSize, -1, kSize}, L"acb"}, // the links count, not the array
        {{kSize, 2 * kSize, 0}, L"abc"},  // round and round
        {{3 * kSize, -1, -1}, L"a"},      // behind the array
        {{8, -1, -1}, L"a"},              // between two entries
    };
    Entries entries = {MakeEntry(L"a"), MakeEntry(L"b"), MakeEntry(L"c")};
    for (const auto& [next, left] : cases) {
        const auto adapters = FetchAdapters(Library(entries, next));
        ASSERT_TRUE(adapters);
        std::wstring names;
        for (const HostAdapter& adapter : *adapters) {
            names += IdentifierOf(adapter.driverName);
        }
        EXPECT_EQ(names, left);
    }
    entries[0].leadingWord = 0; // not filled
    const auto none = FetchAdapters(Library(entries, cases[0].next));
    EXPECT_TRUE(none && none->empty());
}

TEST(FetchAdapters, TellsWhichStepFailed) {
    std::uint32_t needed = 0;
    bool sizeSucceeds = false;
    const GetAdaptersListFunction library = [&](ADAPTER_INFO_LIST_ENTRY* list, std::uint32_t* size) {
        SetLastError(31);
        *size = list == nullptr ? needed : *size;
        return list == nullptr && sizeSucceeds;
    };
    const auto expect = [&](std::wstring_view call, const wchar_t* text, std::uint32_t code) {
        const auto adapters = FetchAdapters(library);
        ASSERT_FALSE(adapters);
        EXPECT_EQ(adapters.error().call, call);
        EXPECT_EQ(adapters.error().text, text);
        EXPECT_EQ(adapters.error().lastError, code);
    };
    expect(kAdapterListSizeQuery, L"", 31);
    needed = 1377; // a part of an entry is one more
    expect(L"WrenPackGetAdaptersList(!NULL,!0)", L"", 31);
    sizeSucceeds = true;
    expect(kAdapterListSizeQuery, L"succeeded?!", 31);
    sizeSucceeds = false;
    needed = 4294967295;
    expect(L"new ADAPTER_INFO_LIST_ENTRY [3121343]", L"", kErrorNotEnoughMemory);
}

TEST(FetchAdapters, DecodesEveryField) {
    ADAPTER_INFO_LIST_ENTRY entry = MakeEntry(L"{1}");
    std::ranges::fill(entry.Description, L'x'); // no terminator
    std::wstring(L"Ethernet").copy(entry.Connection, 255);
    const std::array<std::uint8_t, 6> mac{2, 0, 0, 0, 0, 9};
    std::ranges::copy(mac, entry.PhysAddr);
    entry.LinkType = 16;
    entry.LinkSpeed = 4294967295;
    entry.IPAddr = Ipv4Address(10, 0, 0, 1).Memory();
    entry.IPAddrMask = Ipv4Address(255, 0, 0, 0).Memory();
    entry.GatewayIPAddr = Ipv4Address(10, 0, 0, 254).Memory();
    entry.dwIndex = 7;
    entry.MediaConnected = entry.PromiscuousMode = entry.ChecksumOffloadPresent = 5;
    entry.V4Transmit = 4;
    entry.V4Receive = 8;
    entry.V6Transmit = 12;
    entry.V6Receive = 16;
    entry.MaxPacketLen = 1514;
    Entries entries = {entry};
    const std::vector<std::ptrdiff_t> next = {-1};
    auto adapters = FetchAdapters(Library(entries, next)).value();
    ASSERT_EQ(adapters.size(), 1U);
    HostAdapter wanted;
    wanted.driverName = L"NPF_{1}";
    wanted.connection = L"Ethernet";
    wanted.description = std::wstring(128, L'x');
    wanted.index = 7;
    wanted.mac = MacAddress(mac);
    wanted.address = {10, 0, 0, 1};
    wanted.mask = {255, 0, 0, 0};
    wanted.gateway = {10, 0, 0, 254};
    wanted.medium = kNdisMediumNative802_11;
    wanted.linkSpeed = 429496729500;
    wanted.mediaConnected = true;
    wanted.largestPacket = 1514;
    wanted.promiscuous = true;
    wanted.dhcp = false;
    wanted.checksumOffload = ChecksumOffload{4, 8, 12, 16};
    EXPECT_EQ(adapters.front(), wanted);
    entries[0].LinkSpeed = entries[0].ChecksumOffloadPresent = 0;
    adapters = FetchAdapters(Library(entries, next)).value();
    EXPECT_FALSE(adapters.front().linkSpeed || adapters.front().checksumOffload);
}

} // namespace
} // namespace vnxtest
