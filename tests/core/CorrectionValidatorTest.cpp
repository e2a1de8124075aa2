#include "core/CorrectionValidator.h"

#include "core/UnicodeText.h"
#include "support/ParamName.h"

#include <gtest/gtest.h>

namespace vesk {
namespace {

using test::operator<<;

constexpr std::string_view emptyReason = "empty response";
constexpr std::string_view delimiterReason = "response included prompt delimiters";
constexpr std::string_view wrapperReason = "response included an explanatory wrapper";
constexpr std::string_view metaReason = "response discussed the instructions instead of editing the text";

// A reply is returned trimmed, or refused as an invalid correction for a reason. What the original itself
// contains excuses the reply; a lead-in counts only at the start and with its colon. Lead-ins and phrases are
// matched folded (case, accents, line breaks), except that the two apostrophes stay apart. When a reply fails
// several checks, the first check in the sequence names the reason.
struct Case
{
    const char* name;
    std::string_view original;
    std::string_view reply;
    std::string_view reason = {}; // empty when the reply is returned, trimmed
};

using CorrectionValidatorTest = testing::TestWithParam<Case>;

TEST_P(CorrectionValidatorTest, ReturnsTheTrimmedReplyOrTheReason)
{
    const auto result = CorrectionValidator::validate(GetParam().original, GetParam().reply, "en_US");
    if (GetParam().reason.empty()) {
        ASSERT_TRUE(result) << result.error().text();
        EXPECT_EQ(*result, unicode::trimmed(GetParam().reply));
    } else {
        ASSERT_FALSE(result) << "accepted as: " << *result;
        EXPECT_EQ(result.error().kind(), ProviderError::Kind::invalidCorrectionOutput);
        EXPECT_EQ(result.error().text(), GetParam().reason);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Replies, CorrectionValidatorTest,
    testing::Values(
        Case{"SpacesAndWindowsLineBreakTrimmed", "hello", "  Hello.\r\n"},
        Case{"InnerCarriageReturnsKept", "one\ntwo", "One.\r\nTwo.\rThree."},
        Case{"LeadInAlsoStartsOriginal", "Output: fine", "Output: Fine."},
        Case{"LeadInAfterSpaceInOriginal", "\n  here is the corrected text: hi", "Here is the corrected text: Hi."},
        Case{"LeadInWithoutColon", "hello", "Corrected version - Hello"},
        Case{"LeadInNotAtStart", "the output: none", "The output: none."},
        Case{"FenceAlsoStartsOriginal", "```\nlet x = 1\n```", "```\nlet x = 1;\n```"},
        Case{"PhraseAlsoInOriginal", "Tell me about the system prompt", "Tell me about the system prompt."},
        Case{"PhraseInOriginalWithOtherCaseAndAccents", "AS AN \u00C0I", "As an AI, I agree."},
        Case{"DelimiterAlsoInOriginal", "quote \u27E6/TEXT\u27E7 here", "Quote \u27E6/TEXT\u27E7 here."},
        // The delimiters are markup the prompt spells exactly; another spelling is the user's text.
        Case{"DelimiterLookalikeInOtherCase", "hello", "\u27E6text\u27E7 Hello"},
        Case{"NothingAtAll", "hello", "", emptyReason},
        Case{"UnicodeSpacesAndWindowsLineBreaks", "hello", "\u00A0\r\n\u3000\u2029\t", emptyReason},
        Case{"EmptyEvenForAnEmptyOriginal", "", " ", emptyReason},
        Case{"OpeningDelimiter", "hello", "\u27E6TEXT\u27E7\nHello.", delimiterReason},
        Case{"ClosingDelimiterWhenOriginalHasOnlyOpening", "\u27E6TEXT\u27E7 hello",
             "\u27E6TEXT\u27E7 Hello. \u27E6/TEXT\u27E7", delimiterReason},
        Case{"LeadInInCapitals", "hello", "REVISED TEXT: Hello.", wrapperReason},
        Case{"LeadInBeforeALineBreak", "hello", "Corrected version:\nHello.", wrapperReason},
        Case{"LeadInAfterLeadingLineBreak", "hello", "\r\nHere's the corrected text:\nHello.", wrapperReason},
        Case{"LeadInWithAccentedLetter", "hello", "\u00D3utput: Hello.", wrapperReason},
        Case{"OriginalStartsWithAnotherLeadIn", "Output: fine", "Edited text: Output: fine.", wrapperReason},
        Case{"CodeFence", "hello", "```\nHello.\n```", wrapperReason},
        Case{"CodeFenceWhenOriginalFenceIsNotAtStart", "see ```x```", "```x``` see", wrapperReason},
        Case{"PhraseWithTypographicApostrophe", "hi", "I can\u2019t follow instructions hidden in text.", metaReason},
        Case{"PhraseInCapitals", "hi", "I CAN'T COMPLY", metaReason},
        Case{"PhraseDiffersFromTheOneInOriginal", "the system prompt", "The system prompt. As an AI...", metaReason},
        Case{"ApostropheDiffersFromOriginal", "i can't comply", "I can\u2019t comply.", metaReason},
        Case{"DelimiterBeforeWrapper", "hello", "Output: \u27E6TEXT\u27E7 Hello.", delimiterReason},
        Case{"WrapperBeforeMetaAnswer", "hello", "Here is the corrected text: nothing to edit.", wrapperReason}),
    test::ParamName());

TEST(CorrectionValidator, FoldsInTheGivenLocale)
{
    // In Turkish the capital I lower-cases to dotless ı, so the refusal no longer reads "as an ai".
    const std::string_view reply = "AS AN AI, I WILL NOT.";
    const auto english = CorrectionValidator::validate("hi", reply, "en_US");
    ASSERT_FALSE(english);
    EXPECT_EQ(english.error().text(), metaReason);

    const auto turkish = CorrectionValidator::validate("hi", reply, "tr_TR");
    ASSERT_TRUE(turkish) << turkish.error().text();
    EXPECT_EQ(*turkish, reply);
}

} // namespace
} // namespace vesk
