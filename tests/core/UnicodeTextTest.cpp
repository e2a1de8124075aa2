#include "core/UnicodeText.h"

#include "support/ParamName.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <string_view>

namespace vesk::unicode {
namespace {

using test::operator<<;

struct TrimCase
{
    const char* name;
    std::string_view text;
    std::string_view expected;
};

using Trimming = testing::TestWithParam<TrimCase>;

TEST_P(Trimming, RemovesWhiteSpaceAndLineBreaksAtBothEndsOnly)
{
    EXPECT_EQ(trimmed(GetParam().text), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(UnicodeText, Trimming,
                         testing::Values(TrimCase{"Empty", "", ""},
                                         TrimCase{"OnlyWhiteSpace", " \t\r\n\u00A0\u3000 ", ""},
                                         TrimCase{"WindowsLineBreaks", "\r\n\tHello.\r\n", "Hello."},
                                         TrimCase{"LineAndParagraphSeparators", "\u2028Hello\u2029", "Hello"},
                                         TrimCase{"InnerWhiteSpaceKept", " a \u00A0\r\n b ", "a \u00A0\r\n b"},
                                         // Zero-width space and the BOM are format characters, not white space.
                                         TrimCase{"ZeroWidthSpaceKept", "\u200BHello\uFEFF", "\u200BHello\uFEFF"},
                                         TrimCase{"InvalidBytesKept", " \xFF Hello \xC3 ", "\xFF Hello \xC3"}),
                         test::ParamName());

struct WordCase
{
    const char* name;
    std::string_view text;
    std::size_t words;
};

using WordCounting = testing::TestWithParam<WordCase>;

TEST_P(WordCounting, SplitsAtEveryWhiteSpaceCharacter)
{
    EXPECT_EQ(countWords(GetParam().text), GetParam().words);
}

INSTANTIATE_TEST_SUITE_P(UnicodeText, WordCounting,
                         testing::Values(WordCase{"OnlyWhiteSpace", " \n\u00A0 ", 0},
                                         WordCase{"SurroundingAndRepeatedBlanks", "  two \t\r\n words  ", 2},
                                         WordCase{"UnicodeSpaces", "one\u00A0two\u2028three\u3000\u65E5\u672C", 4},
                                         WordCase{"PunctuationIsPartOfAWord", "well-known, isn't it?", 3},
                                         WordCase{"ZeroWidthSpaceDoesNotSplit", "one\u200Btwo", 1},
                                         WordCase{"InvalidBytesAreWords", "\xFF \xFE", 2}),
                         test::ParamName());

// `first` is the text cut to its first two characters.
struct GraphemeCase
{
    const char* name;
    std::string_view text;
    std::size_t count;
    std::string_view first;
};

using Graphemes = testing::TestWithParam<GraphemeCase>;

TEST_P(Graphemes, CountAndCutWhatTheUserSeesAsCharacters)
{
    EXPECT_EQ(countGraphemes(GetParam().text), GetParam().count);
    EXPECT_EQ(firstGraphemes(GetParam().text, 2), GetParam().first);
}

INSTANTIATE_TEST_SUITE_P(
    UnicodeText, Graphemes,
    testing::Values(GraphemeCase{"Empty", "", 0, ""}, GraphemeCase{"ShorterThanTheCut", "a", 1, "a"},
                    GraphemeCase{"CombiningAccentStaysWithItsLetter", "e\u0301e\u0301e", 3, "e\u0301e\u0301"},
                    GraphemeCase{"FamilyJoinedByZeroWidthJoiners", "\U0001F468\u200D\U0001F469\u200D\U0001F467xy", 3,
                                 "\U0001F468\u200D\U0001F469\u200D\U0001F467x"},
                    GraphemeCase{"WindowsLineBreakIsOneCharacter", "\r\nab", 3, "\r\na"},
                    GraphemeCase{"InvalidBytesAreCharacters", "\xFF\xFEz", 3, "\xFF\xFE"}),
    test::ParamName());

struct FoldCase
{
    const char* name;
    std::string_view text;
    std::string_view localeId;
    std::string_view expected;
};

using Folding = testing::TestWithParam<FoldCase>;

TEST_P(Folding, IgnoresCaseAndAccents)
{
    EXPECT_EQ(foldedForComparison(GetParam().text, GetParam().localeId), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    UnicodeText, Folding,
    testing::Values(FoldCase{"AccentsRemoved", "R\u00E9sum\u00E9 attached", "en_US", "resume attached"},
                    FoldCase{"DecomposedAccentsRemoved", "Re\u0301sume\u0301", "en_US", "resume"},
                    FoldCase{"SharpSFoldsToSs", "Stra\u00DFe", "de_DE", "strasse"},
                    FoldCase{"CapitalIIsDotlessInTurkish", "ISPARTA", "tr_TR", "\u0131sparta"},
                    FoldCase{"CapitalIIsDotlessInAzeri", "I", "az", "\u0131"},
                    FoldCase{"DottedCapitalIInTurkish", "\u0130stanbul", "tr_TR", "istanbul"},
                    FoldCase{"DottedCapitalIElsewhere", "\u0130stanbul", "en_US", "istanbul"},
                    FoldCase{"DotlessSmallIIsALetterNotAnAccent", "\u0131", "en_US", "\u0131"},
                    FoldCase{"TurkishLocaleWithHyphen", "I", "tr-TR", "\u0131"},
                    FoldCase{"TurkishLocaleFromEnvironmentForm", "I", "tr_TR.UTF-8", "\u0131"},
                    FoldCase{"ApostrophesStayDistinct", "CAN'T CAN\u2019T", "en_US", "can't can\u2019t"},
                    FoldCase{"HangulSyllablesRecomposed", "\uD55C\uAD6D\uC5B4", "ko_KR", "\uD55C\uAD6D\uC5B4"},
                    FoldCase{"SpacingVowelSignKept", "\u0915\u093F", "hi_IN", "\u0915\u093F"},
                    FoldCase{"EnclosingKeycapKept", "1\uFE0F\u20E3", "en_US", "1\u20E3"},
                    FoldCase{"InvalidBytesBecomeReplacementCharacters",
                             "A\xFF"
                             "B\xC3",
                             "en_US", "a\uFFFDb\uFFFD"}),
    test::ParamName());

TEST(UnicodeText, FoldingWithoutLocaleUsesTheUsersLocale)
{
    // The user's locale comes from the environment, so only text that folds alike everywhere is checked.
    EXPECT_EQ(foldedForComparison("R\u00C9SUM\u00C9 \u0130"), "resume i");
}

} // namespace
} // namespace vesk::unicode
