#include "core/CorrectionDiff.h"

#include "support/ReferenceDiff.h"

#include <gtest/gtest.h>
#include <ostream>
#include <random>
#include <string>
#include <vector>

namespace vesk {

namespace CorrectionDiff {

void PrintTo(const Segment& segment, std::ostream* out)
{
    static constexpr const char* kinds[] = {"=", "+", "-"};
    *out << kinds[static_cast<int>(segment.kind)] << "\"" << segment.text << "\"";
}

} // namespace CorrectionDiff

namespace {

using Strings = std::vector<std::string>;

// Checks everything a consumer of a plan relies on, whatever the texts.
void expectConsistent(const CorrectionDiffPlan& plan)
{
    std::string original;
    std::string corrected;
    bool previousWasChange = false;
    for (const CorrectionDiffPiece& piece : plan.pieces) {
        if (!piece.isChange()) {
            EXPECT_FALSE(piece.commonText().empty());
            original += piece.commonText();
            corrected += piece.commonText();
            previousWasChange = false;
            continue;
        }
        ASSERT_GE(piece.changeId(), 0);
        ASSERT_LT(piece.changeId(), plan.changeCount());
        const CorrectionDiffChange& made = plan.changes[static_cast<std::size_t>(piece.changeId())];
        EXPECT_FALSE(previousWasChange) << "neighbouring changes should have been one";
        EXPECT_FALSE(made.original.empty() && made.replacement.empty());
        original += made.original;
        corrected += made.replacement;
        previousWasChange = true;
    }
    EXPECT_EQ(original, plan.original);
    EXPECT_EQ(corrected, plan.corrected);
    for (std::size_t k = 0; k < plan.changes.size(); ++k) {
        EXPECT_EQ(plan.changes[k].id, static_cast<int>(k));
    }
}

TEST(CorrectionDiffTokens, SplitWordsFromSpaceAndPunctuation)
{
    EXPECT_EQ(CorrectionDiff::tokens("Hello, world!"), (Strings{"Hello", ", ", "world", "!"}));
    EXPECT_EQ(CorrectionDiff::tokens(""), Strings{});
    EXPECT_EQ(CorrectionDiff::tokens(" \t\n"), Strings{" \t\n"});
    EXPECT_EQ(CorrectionDiff::tokens("Wait... what?!"), (Strings{"Wait", "... ", "what", "?!"}));
    // Letters and digits are one class; the decimal point is not.
    EXPECT_EQ(CorrectionDiff::tokens("abc123 3.14"), (Strings{"abc123", " ", "3", ".", "14"}));
    // Numbers by property, not only ASCII digits: Arabic-Indic digits, a vulgar fraction, a Roman numeral.
    EXPECT_EQ(CorrectionDiff::tokens("\u0663\u0664 1\u00BD \u216B"),
              (Strings{"\u0663\u0664", " ", "1\u00BD", " ", "\u216B"}));
    EXPECT_EQ(CorrectionDiff::tokens("\u65E5\u672C\u8A9E\u306E\u30C6\u30AD\u30B9\u30C8\u3002\u6B21"),
              (Strings{"\u65E5\u672C\u8A9E\u306E\u30C6\u30AD\u30B9\u30C8", "\u3002", "\u6B21"}));
    // Every byte of invalid UTF-8 is kept.
    EXPECT_EQ(CorrectionDiff::tokens("ab\xff\xfe cd\xC3 e\xE2\x82"),
              (Strings{"ab", "\xff\xfe ", "cd", "\xC3 ", "e", "\xE2\x82"}));
}

TEST(CorrectionDiffTokens, ClassifyWholeCharactersByTheirFirstCodePoint)
{
    // A combining accent is no letter itself but stays with the letter it sits on...
    EXPECT_EQ(CorrectionDiff::tokens("cafe\u0301 noir"), (Strings{"cafe\u0301", " ", "noir"}));
    EXPECT_EQ(CorrectionDiff::tokens("\u0928\u092E\u0938\u094D\u0924\u0947 ji"),
              (Strings{"\u0928\u092E\u0938\u094D\u0924\u0947", " ", "ji"}));
    // ...and with the space it sits on, which makes it part of the space's token.
    EXPECT_EQ(CorrectionDiff::tokens("a \u0301b"), (Strings{"a", " \u0301", "b"}));
    const std::string family = "\U0001F469\u200D\U0001F469\u200D\U0001F467";
    EXPECT_EQ(CorrectionDiff::tokens("I " + family + " you"), (Strings{"I", " " + family + " ", "you"}));
    EXPECT_EQ(CorrectionDiff::tokens("ok\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7"),
              (Strings{"ok", "\U0001F1E9\U0001F1EA\U0001F1EB\U0001F1F7"}));
}

// The plan with each change written in as [original→replacement], checked for consistency first.
std::string shown(std::string_view original, std::string_view corrected)
{
    const CorrectionDiffPlan plan = CorrectionDiff::plan(original, corrected);
    expectConsistent(plan);
    std::string text;
    for (const CorrectionDiffPiece& piece : plan.pieces) {
        if (!piece.isChange()) {
            text += piece.commonText();
        } else if (piece.changeId() >= 0 && piece.changeId() < plan.changeCount()) {
            const CorrectionDiffChange& made = plan.changes[static_cast<std::size_t>(piece.changeId())];
            text += "[" + made.original + "\u2192" + made.replacement + "]";
        }
    }
    return text;
}

TEST(CorrectionDiffPlan, GroupsEachRunOfDifferencesIntoOneChange)
{
    EXPECT_EQ(shown("", ""), "");
    EXPECT_EQ(shown("Hi, you", "Hi, you"), "Hi, you");
    EXPECT_EQ(shown("teh cat", "the cat"), "[teh\u2192the] cat");
    EXPECT_EQ(shown("Hello world", "Hello, world"), "Hello[ \u2192, ]world");
    EXPECT_EQ(shown("", "Hi"), "[\u2192Hi]");
    EXPECT_EQ(shown("alot", "a lot"), "[alot\u2192a lot]");
    EXPECT_EQ(shown("I has a apple", "I have an apple"), "I [has\u2192have] [a\u2192an] apple");
}

// Random token lists over small alphabets, so that tokens repeat a lot, some corrections derived from
// the original by a few edits (long common stretches) and some unrelated. Lengths up to 300 cross
// several 64-bit words and several recomputed blocks of rows.
Strings randomTokens(std::mt19937& random, int length, int alphabet)
{
    Strings list;
    for (int k = 0; k < length; ++k) {
        list.push_back("t" + std::to_string(std::uniform_int_distribution<int>(0, alphabet - 1)(random)));
    }
    return list;
}

// Besides the random lists, two shapes made by hand: a carry out of one 64-bit word of a row that passes
// through a word that is all ones and has no match (here the second of three) to the word after it; and an
// original beyond 4,096 tokens, where the blocks of recomputed rows grow beyond 64.
TEST(CorrectionDiffSegments, MatchTheFullTableWalk)
{
    const auto expectAsReference = [](const Strings& from, const Strings& to) {
        ASSERT_EQ(CorrectionDiff::segments(from, to), reference::segments(from, to));
        ASSERT_EQ(CorrectionDiff::segments(to, from), reference::segments(to, from));
    };
    constexpr unsigned seed = 20240611;
    std::mt19937 random(seed);
    const auto below = [&random](int bound) { return std::uniform_int_distribution<int>(0, bound - 1)(random); };
    constexpr int alphabets[] = {1, 2, 3, 5, 8, 40};
    for (int run = 0; run < 2000; ++run) {
        const int alphabet = alphabets[below(std::size(alphabets))];
        const Strings from = randomTokens(random, below(301), alphabet);
        Strings to;
        if (run % 2 == 0) {
            to = randomTokens(random, below(301), alphabet);
        } else {
            for (const std::string& token : from) {
                const int edit = below(20);
                if (edit == 0) {
                    continue;
                }
                if (edit == 1) {
                    to.push_back("t" + std::to_string(below(alphabet)));
                }
                to.push_back(edit == 2 ? "t" + std::to_string(below(alphabet)) : token);
            }
        }
        SCOPED_TRACE("seed " + std::to_string(seed) + ", run " + std::to_string(run) + ", lengths " +
                     std::to_string(from.size()) + " x " + std::to_string(to.size()));
        ASSERT_NO_FATAL_FAILURE(expectAsReference(from, to));
    }

    Strings ones(192, "f");
    ones[63] = "z";
    ones[128] = "w";
    expectAsReference({"w", "z"}, ones);
    expectAsReference(randomTokens(random, 5000, 4), randomTokens(random, 700, 4));
}

TEST(CorrectionDiffPlan, RebuildsBothTextsForRandomTexts)
{
    const std::string parts[] = {"a", "b", "ab", " ", ", ", ". ", "\u00E9", "e\u0301", "\xff", "1"};
    std::mt19937 random(99);
    const auto randomText = [&] {
        std::string result;
        for (auto length = random() % 60; length > 0; --length) {
            result += parts[random() % std::size(parts)];
        }
        return result;
    };
    for (int run = 0; run < 300; ++run) {
        const std::string original = randomText();
        const std::string corrected = randomText();
        SCOPED_TRACE("run " + std::to_string(run) + ": \"" + original + "\" -> \"" + corrected + "\"");
        expectConsistent(CorrectionDiff::plan(original, corrected));
    }
}

// Past the comparison budget (about 63,000 tokens a side) a change is shown by the line, and with no lines
// to go by, as the whole text.
TEST(CorrectionDiffPlan, LongTextsFallBackToCoarserChanges)
{
    std::string line;
    for (int word = 0; word < 350; ++word) {
        line += "word ";
    }
    std::string original;
    for (int k = 0; k < 100; ++k) {
        original += line + "\n";
    }
    std::string corrected = original;
    corrected.replace(original.size() / 2, 4, "WORD");

    const CorrectionDiffPlan byLine = CorrectionDiff::plan(original, corrected);
    expectConsistent(byLine);
    ASSERT_EQ(byLine.changeCount(), 1);
    EXPECT_EQ(byLine.changes[0].original, line + "\n");

    std::erase(original, '\n');
    std::erase(corrected, '\n');
    EXPECT_EQ(shown(original, corrected), "[" + original + "\u2192" + corrected + "]");
}

} // namespace
} // namespace vesk
