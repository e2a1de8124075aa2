#include "core/UnicodeText.h"

#include "support/ParamName.h"

#include <gtest/gtest.h>

namespace vesk::unicode {
namespace {

using test::operator<<;

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

struct Text
{
    const char* name;
    std::string_view text;
    std::string_view expected;
    std::string_view locale = "en_US";
};

using Folding = testing::TestWithParam<Text>;

TEST_P(Folding, IgnoresCaseAndAccents)
{
    EXPECT_EQ(foldedForComparison(GetParam().text, GetParam().locale), GetParam().expected);
}

// Only nonspacing marks are accents: spacing and enclosing marks stay, and what remains is recomposed.
INSTANTIATE_TEST_SUITE_P(UnicodeText, Folding,
                         testing::Values(Text{"AccentsRemoved", "R\u00E9sum\u00E9 attached", "resume attached"},
                                         Text{"SharpSFoldsToSs", "Stra\u00DFe", "strasse", "de_DE"},
                                         Text{"CapitalIIsDotlessInTurkish", "ISPARTA", "\u0131sparta", "tr_TR"},
                                         Text{"DottedCapitalIElsewhere", "\u0130stanbul", "istanbul"},
                                         Text{"TurkishLocaleWithHyphen", "I", "\u0131", "tr-TR"},
                                         Text{"TurkishLocaleFromEnvironmentForm", "I", "\u0131", "tr_TR.UTF-8"},
                                         Text{"ApostrophesStayDistinct", "CAN'T CAN\u2019T", "can't can\u2019t"},
                                         Text{"HangulSyllablesRecomposed", "\uD55C\uAD6D\uC5B4", "\uD55C\uAD6D\uC5B4",
                                              "ko_KR"},
                                         Text{"SpacingVowelSignKept", "\u0915\u093F", "\u0915\u093F", "hi_IN"},
                                         Text{"EnclosingKeycapKept", "1\uFE0F\u20E3", "1\u20E3"},
                                         Text{"InvalidBytesBecomeReplacementCharacters",
                                              "A\xFF"
                                              "B\xC3",
                                              "a\uFFFDb\uFFFD"}),
                         test::ParamName());

TEST(UnicodeText, FoldingWithoutLocaleUsesTheUsersLocale)
{
    // The user's locale comes from the environment, so only text that folds alike everywhere is checked.
    EXPECT_EQ(foldedForComparison("R\u00C9SUM\u00C9 \u0130"), "resume i");
}

} // namespace
} // namespace vesk::unicode
