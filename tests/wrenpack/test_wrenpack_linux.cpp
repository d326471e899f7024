// The real host adapter library of Linux, on whatever adapters the machine has.
#include <cerrno>

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
    ASSERT_EQ(size % sizeof(ADAPTER_INFO_LIST_ENTRY), 0U);
    std::vector<ADAPTER_INFO_LIST_ENTRY> list(size / sizeof(ADAPTER_INFO_LIST_ENTRY));
    std::uint32_t tooSmall = size - 1;
    EXPECT_FALSE(library->GetAdaptersList(list.data(), &tooSmall));
    EXPECT_EQ(tooSmall, size);
    EXPECT_EQ(LastError(), kErrorListTooSmall);
    ASSERT_TRUE(library->GetAdaptersList(list.data(), &size));
    for (std::size_t i = 0; i < list.size(); ++i) {
        EXPECT_NE(list[i].leadingWord, 0U);
        EXPECT_EQ(list[i].next, i + 1 < list.size() ? &list[i + 1] : nullptr);
        EXPECT_EQ(FieldText(list[i].AdapterName), L"NPF_" + FieldText(list[i].Connection));
        EXPECT_NE(FieldText(list[i].Connection), L"lo");
    }
}

TEST(LinuxWrenPack, OpensNothingThatIsNotThere) {
    const auto library = MakeWrenPackLibrary();
    EXPECT_EQ(library->OpenAdapter(u"NPF_no-such-dev"), nullptr);
    EXPECT_TRUE(LastError() == ENODEV || LastError() == EPERM) << LastError(); // EPERM without the privilege
    EXPECT_EQ(library->OpenAdapter(u"NPF_"), nullptr);
    EXPECT_EQ(library->OpenAdapter(u""), nullptr);
    EXPECT_EQ(LastError(), static_cast<std::uint32_t>(ENODEV));
}

TEST(LinuxWrenPack, NamesTheCaptureLibraryWithItsVersion) {
    const PacketDriverDescription driver = MakeWrenPackLibrary()->DescribePacketDriver();
    EXPECT_TRUE(driver.usable);
    EXPECT_EQ(driver.version.find_first_not_of(L"0123456789."), std::wstring::npos)
        << ::testing::PrintToString(driver.version);
    EXPECT_FALSE(driver.version.empty());
}

} // namespace
} // namespace vnxtest
