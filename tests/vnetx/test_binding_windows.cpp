#include <cerrno>

#include <gtest/gtest.h>

#include "vnetx/library.h"

namespace vnxtest {
namespace {

TEST(BindingOnWindows, ErrnoOfALibraryOnAnotherRuntimeIsTaken) {
    const auto library = OpenVnetxLibrary(L"Foreign64UD.dll");
    ASSERT_TRUE(library);
    errno = 0;
    EXPECT_LT((*library)->Open("198.18.0.1", VNETX_OPEN_READ_WRITE), 0);
    EXPECT_EQ(errno, EINVAL);
}

} // namespace
} // namespace vnxtest
