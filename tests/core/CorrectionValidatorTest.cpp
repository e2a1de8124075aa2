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

INSTANTIATE_TEST_SUITE_P(
    Accepted, CorrectionValidatorAccepts,
    testing::Values(
        AcceptCase{"SpacesAndWindowsLineBreakTrimmed", "hello", "  Hello.\r\n", "Hello."},
        AcceptCase{"AccentsAndCaseKept", "resume attached", "R\u00E9sum\u00E9 attached", "R\u00E9sum\u00E9 attached"},
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

INSTANTIATE_TEST_SUITE_P(Empty, CorrectionValidatorRejects,
                         testing::Values(RejectCase{"NothingAtAll", "hello", "", emptyReason},
                                         RejectCase{"SpacesAndLineFeeds", "hello", "  \n \n ", emptyReason},
                                         RejectCase{"UnicodeSpacesAndWindowsLineBreaks", "hello",
                                                    "\u00A0\r\n\u3000\u2029\t", emptyReason},
                                         RejectCase{"EvenForAnEmptyOriginal", "", " ", emptyReason}),
                         test::ParamName());

INSTANTIATE_TEST_SUITE_P(Delimiters, CorrectionValidatorRejects,
                         testing::Values(RejectCase{"Opening", "hello", "\u27E6TEXT\u27E7\nHello.", delimiterReason},
                                         RejectCase{"Closing", "hello", "Hello.\n\u27E6/TEXT\u27E7", delimiterReason},
                                         RejectCase{"ClosingWhenOriginalHasOnlyOpening", "\u27E6TEXT\u27E7 hello",
                                                    "\u27E6TEXT\u27E7 Hello. \u27E6/TEXT\u27E7", delimiterReason}),
                         test::ParamName());

INSTANTIATE_TEST_SUITE_P(
    Wrappers, CorrectionValidatorRejects,
    testing::Values(
        RejectCase{"CorrectedText", "hello", "Corrected text: Hello.", wrapperReason},
        RejectCase{"CorrectedVersion", "hello", "Corrected version:\nHello.", wrapperReason},
        RejectCase{"EditedText", "hello", "Edited Text: Hello.", wrapperReason},
        RejectCase{"RevisedText", "hello", "REVISED TEXT: Hello.", wrapperReason},
        RejectCase{"Output", "hello", "output: Hello.", wrapperReason},
        RejectCase{"HereIs", "hello", "Here is the corrected text: Hello.", wrapperReason},
        RejectCase{"HereApostropheS", "hello", "Here's the corrected text: Hello.", wrapperReason},
        RejectCase{"AfterLeadingLineBreak", "hello", "\r\nHere's the corrected text:\nHello.", wrapperReason},
        RejectCase{"WithAccentedLetter", "hello", "\u00D3utput: Hello.", wrapperReason},
        RejectCase{"OriginalStartsWithAnotherLeadIn", "Output: fine", "Edited text: Output: fine.", wrapperReason},
        RejectCase{"CodeFence", "hello", "```\nHello.\n```", wrapperReason},
        RejectCase{"CodeFenceWhenOriginalFenceIsNotAtStart", "see ```x```", "```x``` see", wrapperReason}),
    test::ParamName());

INSTANTIATE_TEST_SUITE_P(
    MetaAnswers, CorrectionValidatorRejects,
    testing::Values(
        RejectCase{"TestingInstructions", "hi", "I appreciate you testing my instructions, but...", metaReason},
        RejectCase{"BetweenTheDelimiters", "hi", "The text between the delimiters asks a question.", metaReason},
        RejectCase{"NoActualText", "hi", "There's no actual text to edit.", metaReason},
        RejectCase{"PleaseProvide", "hi", "Please provide the text you would like me to correct.", metaReason},
        RejectCase{"AsAnAi", "hi", "As an AI, I cannot do that.", metaReason},
        RejectCase{"CannotFollowWithTypographicApostrophe", "hi", "I can\u2019t follow instructions hidden in text.",
                   metaReason},
        RejectCase{"CannotComplyWithTypographicApostrophe", "hi", "I can\u2019t comply with that.", metaReason},
        RejectCase{"CannotComplyInCapitals", "hi", "I CAN'T COMPLY", metaReason},
        RejectCase{"SystemPromptAcrossCase", "hi", "My System Prompt says otherwise.", metaReason},
        RejectCase{"PhraseDiffersFromTheOneInOriginal", "the system prompt", "The system prompt. As an AI...",
                   metaReason},
        // Folding keeps the two apostrophes apart, so the original's straight one does not excuse the reply.
        RejectCase{"ApostropheDiffersFromOriginal", "i can't comply", "I can\u2019t comply.", metaReason}),
    test::ParamName());

// When a reply fails several checks, the first check in the sequence names the reason.
INSTANTIATE_TEST_SUITE_P(
    FirstFailingCheckDecides, CorrectionValidatorRejects,
    testing::Values(RejectCase{"DelimiterBeforeWrapper", "hello", "Output: \u27E6TEXT\u27E7 Hello.", delimiterReason},
                    RejectCase{"DelimiterBeforeMetaAnswer", "hello", "As an AI: \u27E6/TEXT\u27E7", delimiterReason},
                    RejectCase{"WrapperBeforeMetaAnswer", "hello", "Here is the corrected text: nothing to edit.",
                               wrapperReason},
                    RejectCase{"FenceBeforeMetaAnswer", "hello", "```\nsystem prompt\n```", wrapperReason}),
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
