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

// The plan for two texts with each change written in as [original\u2192replacement], once everything a consumer
// of a plan relies on is checked, whatever the texts: the pieces rebuild both texts, no piece is empty, changes
// never neighbour each other, and a change's id is its position.
std::string shown(std::string_view originalText, std::string_view correctedText)
{
    const CorrectionDiffPlan plan = CorrectionDiff::plan(originalText, correctedText);
    std::string original;
    std::string corrected;
    std::string text;
    bool previousWasChange = false;
    for (const CorrectionDiffPiece& piece : plan.pieces) {
        std::string from = piece.isChange() ? "" : piece.commonText();
        std::string to = from;
        EXPECT_FALSE(piece.isChange() && previousWasChange) << "neighbouring changes should have been one";
        if (!piece.isChange()) {
            EXPECT_FALSE(from.empty());
            text += from;
        } else if (piece.changeId() >= 0 && piece.changeId() < plan.changeCount()) {
            from = plan.changes[static_cast<std::size_t>(piece.changeId())].original;
            to = plan.changes[static_cast<std::size_t>(piece.changeId())].replacement;
            EXPECT_FALSE(from.empty() && to.empty());
            text += "[" + from + "\u2192" + to + "]";
        } else {
            ADD_FAILURE() << "no change " << piece.changeId();
        }
        original += from;
        corrected += to;
        previousWasChange = piece.isChange();
    }
    EXPECT_EQ(original, plan.original);
    EXPECT_EQ(corrected, plan.corrected);
    for (std::size_t k = 0; k < plan.changes.size(); ++k) {
        EXPECT_EQ(plan.changes[k].id, static_cast<int>(k));
    }
    return text;
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
        shown(original, corrected);
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
    const std::size_t middle = original.size() / 2; // the start of the 51st line
    std::string corrected = original;
    corrected.replace(middle, 4, "WORD");

    EXPECT_EQ(shown(original, corrected), original.substr(0, middle) + "[" + line + "\n\u2192" +
                                              corrected.substr(middle, line.size() + 1) + "]" +
                                              original.substr(middle + line.size() + 1));

    std::erase(original, '\n');
    std::erase(corrected, '\n');
    EXPECT_EQ(shown(original, corrected), "[" + original + "\u2192" + corrected + "]");
}

} // namespace
} // namespace vesk
