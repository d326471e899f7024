// What assistive software is told of a text: characters for bytes, units of reading, a sentence for many
// lines.
#include <gtest/gtest.h>

#include "widgets/access/character_offsets.h"
#include "widgets/access/text_access.h"
#include "widgets/access/text_range.h"
#include "widgets/access/text_units.h"

namespace vnxtest {
namespace {

TEST(CharacterOffsets, CountCharactersOfATextThatGrows) {
    const std::string part = "a\xC3\xA9\xE2\x86\x92\xF0\x9F\x98\x80\n"; // 5 characters, 11 bytes
    constexpr std::size_t kCharacters = 5;
    CharacterOffsets offsets;
    std::string text;
    for (const std::size_t parts : {1U, 7'000U, 30'000U}) {
        while (text.size() < parts * part.size()) {
            text += part;
        }
        for (const std::size_t each : {std::size_t{0}, parts / 3, parts - 1}) {
            EXPECT_EQ(offsets.CharactersBefore(text, each * part.size() + 3), each * kCharacters + 2);
            EXPECT_EQ(offsets.ByteOf(text, each * kCharacters + 2), each * part.size() + 3);
        }
        EXPECT_EQ(offsets.CharactersBefore(text, text.size()), parts * kCharacters);
        EXPECT_EQ(offsets.ByteOf(text, parts * kCharacters + 9), text.size());
    }
    offsets.Clear();
    EXPECT_EQ(offsets.CharactersBefore("", 5), 0U);
}

TEST(TextUnits, BeginWhereReadingGoesOn) {
    const std::string_view text = "one  two\n\xC3\xA9 four\nlast";
    const auto unit = [&](std::size_t at, TextUnit kind) {
        const auto [from, to] = UnitAround(text, at, kind);
        return text.substr(from, to - from);
    };
    EXPECT_EQ(unit(4, TextUnit::Word), "one  ");
    EXPECT_EQ(unit(5, TextUnit::Word), "two\n");
    EXPECT_EQ(unit(9, TextUnit::Character), "\xC3\xA9");
    EXPECT_EQ(unit(13, TextUnit::Line), "\xC3\xA9 four\n");
    EXPECT_EQ(unit(text.size(), TextUnit::Line), "last");
    EXPECT_EQ(unit(text.size(), TextUnit::Word), "");
    EXPECT_EQ(CharacterBefore(text, 11), 9U);
}

TEST(TextRange, MovesByUnitsAndStopsAtTheEnds) {
    const std::string_view text = "one  two\n\xC3\xA9 four\nlast\n"; // lines at 0, 9, 17; the end at 22
    TextRange range({5, 6});
    const auto bytes = [&] { return range.Within(text); };
    EXPECT_EQ(range.Move(text, TextUnit::Word, 1), 1);
    EXPECT_EQ(bytes(), ByteRange(9, 12));
    EXPECT_EQ(range.Move(text, TextUnit::Character, -2), -2);
    EXPECT_EQ(bytes(), ByteRange(7, 8));
    // The last word is the last; behind the last line end is an empty line.
    EXPECT_EQ(range.Move(text, TextUnit::Word, 9), 3);
    EXPECT_EQ(bytes(), ByteRange(17, 22));
    EXPECT_EQ(range.Move(text, TextUnit::Line, 9), 1);
    EXPECT_EQ(bytes(), ByteRange(22, 22));
    EXPECT_EQ(range.Move(text, TextUnit::Line, -1), -1);
    EXPECT_EQ(bytes(), ByteRange(17, 17)); // an empty one stays empty
    range.ExpandTo(text, TextUnit::Line);
    EXPECT_EQ(bytes(), ByteRange(17, 22));
    EXPECT_EQ(range.Move(text, TextUnit::Line, -9), -2);
    EXPECT_EQ(range.MoveEnd(text, TextRange::End::Last, TextUnit::Line, 1), 1);
    EXPECT_EQ(bytes(), ByteRange(0, 17));
    EXPECT_EQ(range.MoveEnd(text, TextRange::End::First, TextUnit::Document, 1), 1);
    EXPECT_EQ(bytes(), ByteRange(22, 22));
    // A line without an end is the last one.
    EXPECT_EQ(TextRange({0, 3}).Move("one\ntwo", TextUnit::Line, 2), 1);
}

TEST(TextRange, FitsATextThatWasEmptiedAndFindsInIt) {
    TextRange range({5, 900});
    EXPECT_EQ(range.Within("1234\xC3\xA9 5"), ByteRange(4, 8));
    EXPECT_EQ(range.Within(""), ByteRange(0, 0));

    const std::string_view text = "Reply \xC3\x89t\xC3\xA9 reply REPLY";
    TextRange all({0, text.size()});
    const auto found = [&](std::string_view what, bool backward, TextRange::Case letters) {
        return all.Find(text, what, backward, letters).value_or(ByteRange{99, 99}).first;
    };
    EXPECT_EQ(found("reply", false, TextRange::Case::Matters), 12U);
    EXPECT_EQ(found("reply", false, TextRange::Case::Ignored), 0U);
    EXPECT_EQ(found("reply", true, TextRange::Case::Ignored), 18U);
    EXPECT_EQ(found("T\xC3\xA9 R", true, TextRange::Case::Ignored), 8U);
    EXPECT_EQ(found("reply?", true, TextRange::Case::Ignored), 99U);
    EXPECT_FALSE(TextRange({13, 17}).Find(text, "reply", false, TextRange::Case::Ignored));
}

TEST(SentenceOfLines, SaysAFewAndCountsMany) {
    const std::string stamp = "04:05:06.789 ";
    EXPECT_EQ(SentenceOf(stamp + "one\n04:05:06.789\n" + stamp + "two\n"), "one\ntwo");
    EXPECT_EQ(SentenceOf("04:05:06.789\n"), "");
    std::string many;
    for (const char* const each : {"a", "b", "c", "d"}) {
        many += stamp + each + "\n";
    }
    EXPECT_EQ(SentenceOf(many), "4 new lines. d");
}

} // namespace
} // namespace vnxtest
