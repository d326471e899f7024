#include <cerrno>

#include <gtest/gtest.h>

#include "wrenlib/errors.h"
#include "wrenlib/format.h"
#include "wrenlib/text.h"
#include "wrenlib/visible_text.h"

namespace vnxtest {
namespace {

TEST(Text, ConvertsToUtf8AndBackWithoutLoss) {
    const std::wstring text = L"Büro-Adapter \u20AC \U0001F310 ok";
    EXPECT_EQ(FromUtf8(ToUtf8(text)), text);
    EXPECT_EQ(ToUtf8(L"\u20AC"), "\xE2\x82\xAC");
    EXPECT_EQ(TrimBlanks(L"  a b\t\r\n") + TrimBlanks(L" \t "), L"a b");
}

TEST(Text, ReplacesWhatIsNotUtf8) {
    // A lone continuation byte, an overlong slash, a cut sequence, a surrogate, beyond the last code.
    for (const char* bad : {"\x80", "\xC0\xAF", "\xE2\x82", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF"}) {
        const std::wstring wide = FromUtf8(std::string("a") + bad + "z");
        EXPECT_TRUE(wide.starts_with(L"a\uFFFD") && wide.ends_with(L"\uFFFDz")) << bad;
    }
}

TEST(VisibleText, ShowsWhatHasNoShapeByItsNumberAndLeavesAllElse) {
    const std::wstring fine = L"C:\\x1b \u00A0B\u00FCro\u2027\u202F\u2065\u206A\u20AC~\uFFFD\U0001F310";
    EXPECT_EQ(MakeVisible(fine), fine);
    // The first and the last of every range, and a NUL.
    EXPECT_EQ(MakeVisible(std::wstring_view(L"\0\x01\t\r\n\x1b[2J\x1f\x7f\u0080\u009b\u009f", 14)),
              L"\\x00\\x01\\x09\\x0d\\x0a\\x1b[2J\\x1f\\x7f\\x80\\x9b\\x9f");
    EXPECT_EQ(MakeVisible(L"\u061C\u200E\u200F\u2028\u2029\u202A\u202E\u2066\u2069\uFEFF"),
              L"\\u061c\\u200e\\u200f\\u2028\\u2029\\u202a\\u202e\\u2066\\u2069\\ufeff");
    const auto lines = [](std::wstring text) {
        MakeLinesVisible(text);
        return text;
    };
    EXPECT_EQ(lines(fine + L"\n\n"), fine + L"\n\n");
    EXPECT_EQ(lines(L"a\tb\r\n\rc\x1b\u202e\r"), L"a b\n\\x0dc\\x1b\\u202e") << "lines stay lines";
}

TEST(Format, FollowsPrintfOnWideText) {
    EXPECT_EQ(Sprintf(L"%5u|%-5s|%08.8X|%hu|%3.1f%c", 7U, std::wstring(L"ab"), 0x1FU,
                      static_cast<std::uint16_t>(65535), 1.0, L'G'),
              L"    7|ab   |0000001F|65535|1.0G");
    EXPECT_EQ(Sprintf(L"%d %d", 1), L"%d %d") << "a format that does not fit";
}

TEST(Errors, SavedPairIsPutBack) {
    errno = ENODEV;
    SaveErrors();
    const std::uint32_t lastError = SavedErrorsOfThread().lastError;
    errno = EPERM;
    SetLastError(1);
    RestoreSavedErrors();
    EXPECT_EQ(errno, ENODEV);
    EXPECT_EQ(LastError(), lastError);
    EXPECT_EQ(EndSentence(L"Access is denied."), L"Access is denied.");
    EXPECT_EQ(EndSentence(L"Permission denied"), L"Permission denied.");
}

} // namespace
} // namespace vnxtest
