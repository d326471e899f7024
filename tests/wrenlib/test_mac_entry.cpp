#include <gtest/gtest.h>

#include "wrenlib/mac_entry.h"

namespace vnxtest {
namespace {

// Types `keys` one by one at the end of the entry and returns what stands there afterwards.
std::wstring Type(std::wstring_view keys) {
    std::wstring entry;
    for (const wchar_t key : keys) {
        entry = FilterMACAddressInput(entry + key, entry).value;
    }
    return entry;
}

TEST(MacEntry, PutsTheSeparatorsInAndKeepsTheLastTextWhenACharacterDoesNotBelong) {
    for (const auto& [keys, shown] : {std::pair{L"001", L"00-1"},
                                      {L"0011", L"00-11"},
                                      {L"02:005e800004", L"02:00:5e:80:00:04"},
                                      {L"02-00-5E-80-00-04", L"02-00-5E-80-00-04"},
                                      {L"0g0", L"00"},
                                      {L"-00", L"00"},
                                      {L"00:11-22", L"00:11:22"}, // the second kind of separator is refused
                                      {L"02005e8000047", L"02-00-5e-80-00-04"},
                                      {L"00 1", L"00-1"}}) {
        EXPECT_EQ(Type(keys), shown);
    }
}

TEST(MacEntry, JudgesPastedTextAsAWhole) {
    EXPECT_TRUE(FilterMACAddressInput(L" 00:11:22:33:44:55 ", L"").accepted);
    for (const wchar_t* bad : {L"00:11-", L"00:11:22:33:44:55:", L"001122334455", L"0x:11", L"00--11"}) {
        const MacEntryResult result = FilterMACAddressInput(bad, L"00");
        EXPECT_FALSE(result.accepted) << ::testing::PrintToString(std::wstring(bad));
        EXPECT_EQ(result.value, L"00");
    }
    const MacEntryResult empty = FilterMACAddressInput(L"   ", L"00-1");
    EXPECT_TRUE(empty.accepted);
    EXPECT_TRUE(empty.value.empty());
}

} // namespace
} // namespace vnxtest
