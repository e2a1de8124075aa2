#include "core/UnicodeText.h"

#include "core/Json.h"
#include "support/Golden.h"

#include <gtest/gtest.h>

namespace vesk::unicode {
namespace {

// Line and paragraph separators and no-break spaces are white space; the zero-width space and the BOM are
// format characters, not white space. Invalid bytes are kept.
TEST(UnicodeText, TrimmingRemovesWhiteSpaceAndLineBreaksAtBothEndsOnly)
{
    EXPECT_EQ(trimmed(" \t\r\n\u00A0\u3000 "), "");
    EXPECT_EQ(trimmed("\r\n\tHello.\r\n"), "Hello.");
    EXPECT_EQ(trimmed("\u2028Hello\u2029"), "Hello");
    EXPECT_EQ(trimmed(" a \u00A0\r\n b "), "a \u00A0\r\n b");
    EXPECT_EQ(trimmed("\u200BHello\uFEFF"), "\u200BHello\uFEFF");
    EXPECT_EQ(trimmed(" \xFF Hello \xC3 "), "\xFF Hello \xC3");
}

TEST(UnicodeText, WordCountingSplitsAtEveryWhiteSpaceCharacter)
{
    EXPECT_EQ(countWords(" \n\u00A0 "), 0U);
    EXPECT_EQ(countWords("  two \t\r\n words  "), 2U);
    EXPECT_EQ(countWords("one\u00A0two\u2028three\u3000\u65E5\u672C"), 4U);
    EXPECT_EQ(countWords("well-known, isn't it?"), 3U) << "punctuation is part of a word";
    EXPECT_EQ(countWords("one\u200Btwo"), 1U) << "a zero-width space does not split";
    EXPECT_EQ(countWords("\xFF \xFE"), 2U) << "invalid bytes are words";
}

// What the user sees as characters: an accent stays with its letter, a family joined by zero-width joiners
// is one, and each invalid byte is one.
TEST(UnicodeText, GraphemesAreCountedAndCutAsTheUserSeesThem)
{
    using Cut = std::pair<std::size_t, std::string>;
    const auto countAndFirstTwo = [](std::string_view text) {
        return Cut(countGraphemes(text), firstGraphemes(text, 2));
    };
    EXPECT_EQ(countAndFirstTwo(""), Cut(0, ""));
    EXPECT_EQ(countAndFirstTwo("a"), Cut(1, "a"));
    EXPECT_EQ(countAndFirstTwo("e\u0301e\u0301e"), Cut(3, "e\u0301e\u0301"));
    const std::string family = "\U0001F468\u200D\U0001F469\u200D\U0001F467";
    EXPECT_EQ(countAndFirstTwo(family + "xy"), Cut(3, family + "x"));
    EXPECT_EQ(countAndFirstTwo("\xFF\xFEz"), Cut(3, "\xFF\xFE"));
}

// The cases are the golden file Folding.txt; invalid bytes cannot be written there.
TEST(UnicodeText, FoldingIgnoresCaseAndAccents)
{
    test::expectTranscript("Folding", [](std::string_view line) {
        const Json localeAndText = Json::parse("[" + std::string(line) + "]");
        return Json(foldedForComparison(localeAndText.at(1).get<std::string>(), localeAndText.at(0).get<std::string>()))
            .dump();
    });
    EXPECT_EQ(foldedForComparison("A\xFF-\xC3", "en_US"), "a\uFFFD-\uFFFD") << "invalid bytes are U+FFFD";
}

} // namespace
} // namespace vesk::unicode
