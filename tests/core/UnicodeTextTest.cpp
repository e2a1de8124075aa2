#include "core/UnicodeText.h"

#include "support/ParamName.h"

#include <gtest/gtest.h>

namespace vesk::unicode {
namespace {

using test::operator<<;

template <typename Expected> struct TextCase
{
    const char* name;
    std::string_view text;
    Expected expected;
    std::string_view locale = "en_US";
};

using Trimming = testing::TestWithParam<TextCase<std::string_view>>;
using WordCounting = testing::TestWithParam<TextCase<std::size_t>>;
using Graphemes = testing::TestWithParam<TextCase<std::pair<std::size_t, std::string_view>>>; // count, first two
using Folding = testing::TestWithParam<TextCase<std::string_view>>;

TEST_P(Trimming, RemovesWhiteSpaceAndLineBreaksAtBothEndsOnly)
{
    EXPECT_EQ(trimmed(GetParam().text), GetParam().expected);
}

TEST_P(WordCounting, SplitsAtEveryWhiteSpaceCharacter)
{
    EXPECT_EQ(countWords(GetParam().text), GetParam().expected);
}

TEST_P(Graphemes, CountAndCutWhatTheUserSeesAsCharacters)
{
    EXPECT_EQ(std::pair(countGraphemes(GetParam().text), firstGraphemes(GetParam().text, 2)), GetParam().expected);
}

TEST_P(Folding, IgnoresCaseAndAccents)
{
    EXPECT_EQ(foldedForComparison(GetParam().text, GetParam().locale), GetParam().expected);
}

using Text = TextCase<std::string_view>;
using Count = TextCase<std::size_t>;
using Cut = TextCase<std::pair<std::size_t, std::string_view>>;

INSTANTIATE_TEST_SUITE_P(UnicodeText, Trimming,
                         testing::Values(Text{"Empty", "", ""}, Text{"OnlyWhiteSpace", " \t\r\n\u00A0\u3000 ", ""},
                                         Text{"WindowsLineBreaks", "\r\n\tHello.\r\n", "Hello."},
                                         Text{"LineAndParagraphSeparators", "\u2028Hello\u2029", "Hello"},
                                         Text{"InnerWhiteSpaceKept", " a \u00A0\r\n b ", "a \u00A0\r\n b"},
                                         // Zero-width space and the BOM are format characters, not white space.
                                         Text{"ZeroWidthSpaceKept", "\u200BHello\uFEFF", "\u200BHello\uFEFF"},
                                         Text{"InvalidBytesKept", " \xFF Hello \xC3 ", "\xFF Hello \xC3"}),
                         test::ParamName());

INSTANTIATE_TEST_SUITE_P(UnicodeText, WordCounting,
                         testing::Values(Count{"OnlyWhiteSpace", " \n\u00A0 ", 0},
                                         Count{"SurroundingAndRepeatedBlanks", "  two \t\r\n words  ", 2},
                                         Count{"UnicodeSpaces", "one\u00A0two\u2028three\u3000\u65E5\u672C", 4},
                                         Count{"PunctuationIsPartOfAWord", "well-known, isn't it?", 3},
                                         Count{"ZeroWidthSpaceDoesNotSplit", "one\u200Btwo", 1},
                                         Count{"InvalidBytesAreWords", "\xFF \xFE", 2}),
                         test::ParamName());

INSTANTIATE_TEST_SUITE_P(
    UnicodeText, Graphemes,
    testing::Values(Cut{"Empty", "", {0, ""}}, Cut{"ShorterThanTheCut", "a", {1, "a"}},
                    Cut{"CombiningAccentStaysWithItsLetter", "e\u0301e\u0301e", {3, "e\u0301e\u0301"}},
                    Cut{"FamilyJoinedByZeroWidthJoiners",
                        "\U0001F468\u200D\U0001F469\u200D\U0001F467xy",
                        {3, "\U0001F468\u200D\U0001F469\u200D\U0001F467x"}},
                    Cut{"InvalidBytesAreCharacters", "\xFF\xFEz", {3, "\xFF\xFE"}}),
    test::ParamName());

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
