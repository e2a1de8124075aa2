#include "core/CorrectionValidator.h"

#include "support/ParamName.h"

#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <string_view>

namespace vesk {
namespace {

using test::operator<<;

constexpr std::string_view emptyReason = "empty response";
constexpr std::string_view delimiterReason = "response included prompt delimiters";
constexpr std::string_view wrapperReason = "response included an explanatory wrapper";
constexpr std::string_view metaReason = "response discussed the instructions instead of editing the text";

struct AcceptCase
{
    const char* name;
    std::string_view original;
    std::string_view reply;
    std::string_view returned;
};

using CorrectionValidatorAccepts = testing::TestWithParam<AcceptCase>;

TEST_P(CorrectionValidatorAccepts, ReplyReturnedTrimmed)
{
    const auto result = CorrectionValidator::validate(GetParam().original, GetParam().reply, "en_US");
    ASSERT_TRUE(result) << result.error().text();
    EXPECT_EQ(*result, GetParam().returned);
}

// What the original itself contains excuses the reply; a lead-in counts only at the start and with its colon.
INSTANTIATE_TEST_SUITE_P(
    Accepted, CorrectionValidatorAccepts,
    testing::Values(
        AcceptCase{"SpacesAndWindowsLineBreakTrimmed", "hello", "  Hello.\r\n", "Hello."},
        AcceptCase{"InnerCarriageReturnsKept", "one\ntwo", "One.\r\nTwo.\rThree.", "One.\r\nTwo.\rThree."},
        AcceptCase{"LeadInAlsoStartsOriginal", "Output: fine", "Output: Fine.", "Output: Fine."},
        AcceptCase{"LeadInAfterSpaceInOriginal", "\n  here is the corrected text: hi",
                   "Here is the corrected text: Hi.", "Here is the corrected text: Hi."},
        AcceptCase{"LeadInWithoutColon", "hello", "Corrected version - Hello", "Corrected version - Hello"},
        AcceptCase{"LeadInNotAtStart", "the output: none", "The output: none.", "The output: none."},
        AcceptCase{"FenceAlsoStartsOriginal", "```\nlet x = 1\n```", "```\nlet x = 1;\n```", "```\nlet x = 1;\n```"},
        AcceptCase{"PhraseAlsoInOriginal", "Tell me about the system prompt", "Tell me about the system prompt.",
                   "Tell me about the system prompt."},
        AcceptCase{"PhraseInOriginalWithOtherCaseAndAccents", "AS AN \u00C0I", "As an AI, I agree.",
                   "As an AI, I agree."},
        AcceptCase{"DelimiterAlsoInOriginal", "quote \u27E6/TEXT\u27E7 here", "Quote \u27E6/TEXT\u27E7 here.",
                   "Quote \u27E6/TEXT\u27E7 here."},
        // The delimiters are markup the prompt spells exactly; another spelling is the user's text.
        AcceptCase{"DelimiterLookalikeInOtherCase", "hello", "\u27E6text\u27E7 Hello", "\u27E6text\u27E7 Hello"}),
    test::ParamName());

struct RejectCase
{
    const char* name;
    std::string_view original;
    std::string_view reply;
    std::string_view reason;
};

using CorrectionValidatorRejects = testing::TestWithParam<RejectCase>;

TEST_P(CorrectionValidatorRejects, ReplyAsInvalidCorrectionWithReason)
{
    const auto result = CorrectionValidator::validate(GetParam().original, GetParam().reply, "en_US");
    ASSERT_FALSE(result) << "accepted as: " << *result;
    EXPECT_EQ(result.error().kind(), ProviderError::Kind::invalidCorrectionOutput);
    EXPECT_EQ(result.error().text(), GetParam().reason);
}

// Lead-ins and phrases are matched folded (case, accents, line breaks), except that the two apostrophes stay
// apart. When a reply fails several checks, the first check in the sequence names the reason.
INSTANTIATE_TEST_SUITE_P(
    Rejected, CorrectionValidatorRejects,
    testing::Values(
        RejectCase{"NothingAtAll", "hello", "", emptyReason},
        RejectCase{"UnicodeSpacesAndWindowsLineBreaks", "hello", "\u00A0\r\n\u3000\u2029\t", emptyReason},
        RejectCase{"EmptyEvenForAnEmptyOriginal", "", " ", emptyReason},
        RejectCase{"OpeningDelimiter", "hello", "\u27E6TEXT\u27E7\nHello.", delimiterReason},
        RejectCase{"ClosingDelimiterWhenOriginalHasOnlyOpening", "\u27E6TEXT\u27E7 hello",
                   "\u27E6TEXT\u27E7 Hello. \u27E6/TEXT\u27E7", delimiterReason},
        RejectCase{"LeadInInCapitals", "hello", "REVISED TEXT: Hello.", wrapperReason},
        RejectCase{"LeadInBeforeALineBreak", "hello", "Corrected version:\nHello.", wrapperReason},
        RejectCase{"LeadInAfterLeadingLineBreak", "hello", "\r\nHere's the corrected text:\nHello.", wrapperReason},
        RejectCase{"LeadInWithAccentedLetter", "hello", "\u00D3utput: Hello.", wrapperReason},
        RejectCase{"OriginalStartsWithAnotherLeadIn", "Output: fine", "Edited text: Output: fine.", wrapperReason},
        RejectCase{"CodeFence", "hello", "```\nHello.\n```", wrapperReason},
        RejectCase{"CodeFenceWhenOriginalFenceIsNotAtStart", "see ```x```", "```x``` see", wrapperReason},
        RejectCase{"PhraseWithTypographicApostrophe", "hi", "I can\u2019t follow instructions hidden in text.",
                   metaReason},
        RejectCase{"PhraseInCapitals", "hi", "I CAN'T COMPLY", metaReason},
        RejectCase{"PhraseAcrossCase", "hi", "My System Prompt says otherwise.", metaReason},
        RejectCase{"PhraseDiffersFromTheOneInOriginal", "the system prompt", "The system prompt. As an AI...",
                   metaReason},
        RejectCase{"ApostropheDiffersFromOriginal", "i can't comply", "I can\u2019t comply.", metaReason},
        RejectCase{"DelimiterBeforeWrapper", "hello", "Output: \u27E6TEXT\u27E7 Hello.", delimiterReason},
        RejectCase{"WrapperBeforeMetaAnswer", "hello", "Here is the corrected text: nothing to edit.", wrapperReason}),
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
