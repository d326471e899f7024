// The real host adapter library of Linux, on whatever adapters the machine has.
#include <gtest/gtest.h>

#include "wrenlib/errors.h"
#include "wrenpack/wrenpack.h"

namespace vnxtest {
namespace {

TEST(LinuxWrenPack, AsksForRoomAndThenFillsIt) {
    const auto library = MakeWrenPackLibrary();
    std::uint32_t size = 0;
    ASSERT_FALSE(library->GetAdaptersList(nullptr, &size));
    if (size == 0) {
        EXPECT_EQ(LastError(), kErrorNoAdapter);
        GTEST_SKIP() << "this machine has no network adapter";
    }
    std::vector<ADAPTER_INFO_LIST_ENTRY> list(size / sizeof(ADAPTER_INFO_LIST_ENTRY));
    std::uint32_t tooSmall = size - 1;
    EXPECT_FALSE(library->GetAdaptersList(list.data(), &tooSmall));
    EXPECT_EQ(tooSmall, size);
    EXPECT_EQ(LastError(), kErrorListTooSmall);
    EXPECT_TRUE(library->GetAdaptersList(list.data(), &size)); // its entries: tests/e2e/test_report.py
}

} // namespace
} // namespace vnxtest
