// The system's texts, to the letter.
#include "wrenlib/errors.h"

#include <windows.h>

#include <gtest/gtest.h>

#include "wrenlib/text.h"

namespace vnxtest {
namespace {

TEST(SystemTexts, KeepTheirFullStop) {
    for (const DWORD code : {ERROR_ACCESS_DENIED, ERROR_MOD_NOT_FOUND}) {
        wchar_t text[256] = {};
        ASSERT_NE(FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, code, 0,
                                 text, 256, nullptr),
                  0U);
        EXPECT_EQ(FormatLastError(code), TrimBlanks(text));
        EXPECT_TRUE(FormatLastError(code).ends_with(L'.'));
    }
}

} // namespace
} // namespace vnxtest
