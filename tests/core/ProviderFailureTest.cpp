#include "core/ProviderFailure.h"

#include "core/Json.h"
#include "support/ParamName.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace vesk {
namespace {

struct FailureCase
{
    const char* name;
    ProviderError error;
    ProviderID provider;
    ProviderFailure expected;
};

class FailureTexts : public ::testing::TestWithParam<FailureCase>
{
};

TEST_P(FailureTexts, AreExact)
{
    EXPECT_EQ(ProviderFailure::from(GetParam().error, GetParam().provider), GetParam().expected);
    // Thrown and caught as any exception, the error maps the same way.
    try {
        throw GetParam().error;
    } catch (const std::exception& e) {
        EXPECT_EQ(ProviderFailure::from(e, GetParam().provider), GetParam().expected);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Errors, FailureTexts,
    ::testing::Values(
        FailureCase("MissingKeyNamesTheProviderInUse", ProviderError::missingAPIKey(ProviderID::openai),
                    ProviderID::anthropic, {"No Anthropic key yet", "Add your API key in Settings.", std::nullopt}),
        FailureCase("Unauthorized", ProviderError::http(401, "invalid x-api-key"), ProviderID::anthropic,
                    {"Anthropic rejected the key", "Check the key and paste it again.", "HTTP 401 invalid x-api-key"}),
        FailureCase("ForbiddenIsAKeyRejection", ProviderError::http(403, "no"), ProviderID::openai,
                    {"OpenAI rejected the key", "Check the key and paste it again.", "HTTP 403 no"}),
        FailureCase("RateLimited", ProviderError::http(429, "slow down"), ProviderID::openai,
                    {"OpenAI is rate limiting", "Wait a moment and try again.", "HTTP 429 slow down"}),
        FailureCase("ServerErrorWithEmptyMessage", ProviderError::http(500, ""), ProviderID::anthropic,
                    {"Anthropic returned an error", "Try again in a moment.", "HTTP 500 "}),
        FailureCase("Transport", ProviderError::transport("Could not connect"), ProviderID::openai,
                    {"OpenAI didn't respond", "Check your connection and try again.", "Could not connect"}),
        FailureCase("Timeout", ProviderError::timeout(), ProviderID::anthropic,
                    {"Anthropic didn't respond", "Check your connection and try again.", std::nullopt}),
        FailureCase("InvalidOutput", ProviderError::invalidCorrectionOutput("empty response"), ProviderID::openai,
                    {"OpenAI sent an unexpected reply", "Try again.",
                     "The provider returned an invalid correction: empty response"}),
        FailureCase("CutOff", ProviderError::cutOff(), ProviderID::openai,
                    {"OpenAI's reply was cut off", "The reply stopped before it was finished. Try again.",
                     std::nullopt}),
        FailureCase("ErrorInTheStream", ProviderError::streamError("Overloaded"), ProviderID::anthropic,
                    {"Anthropic reported an error", "Try again in a moment.", "Overloaded"}),
        FailureCase("ReplyTooLong", ProviderError::replyTooLong(), ProviderID::anthropic,
                    {"Anthropic's reply was too long",
                     "The model stopped at its length limit. Try a shorter selection.", std::nullopt}),
        FailureCase("ReplyOverTheCap", ProviderError::replyTooLarge(), ProviderID::openai,
                    {"OpenAI's reply was too long", "Vesk stopped reading it at 1 MB. Try a shorter selection.",
                     std::nullopt}),
        FailureCase("SelectionOverTheCap", ProviderError::selectionTooLong(), ProviderID::openai,
                    {"The text is too long",
                     "Vesk corrects up to 100,000 characters at a time. Select less and try again.", std::nullopt}),
        FailureCase("PastTheDeadline", ProviderError::deadlineExceeded(), ProviderID::anthropic,
                    {"Anthropic took too long", "The reply didn't finish within 5 minutes. Try a shorter selection.",
                     std::nullopt}),
        FailureCase("Redirect", ProviderError::redirect(308, "https://api.example.com/v1/messages"),
                    ProviderID::anthropic,
                    {"Anthropic redirected the request",
                     "Check the address in Settings: Vesk doesn't follow redirects.",
                     "Redirected (308) to https://api.example.com/v1/messages"}),
        FailureCase("UntrustedCertificate",
                    ProviderError::certificate("SSL peer certificate or SSH remote key was not OK"), ProviderID::openai,
                    {"OpenAI's certificate wasn't trusted",
                     "The connection isn't secure, so nothing was sent. Check the address and your network.",
                     "SSL peer certificate or SSH remote key was not OK"}),
        FailureCase("UnreadablePayload", ProviderError::invalidResponse("a part of the reply could not be read"),
                    ProviderID::openai,
                    {"OpenAI sent an unexpected reply", "Try again.",
                     "The provider returned an unexpected response: a part of the reply could not be read"}),
        FailureCase("InvalidResponse", ProviderError::invalidResponse(), ProviderID::anthropic,
                    {"Anthropic sent an unexpected reply", "Try again.",
                     "The provider returned an unexpected response."})),
    test::ParamName{});

TEST(ProviderFailure, AnyOtherErrorCannotCorrect)
{
    const std::runtime_error error("disk on fire");
    EXPECT_EQ(ProviderFailure::from(error, ProviderID::openai),
              (ProviderFailure{"Couldn't correct", "disk on fire", std::nullopt}));
}

TEST(ProviderError, DescriptionsAreExact)
{
    EXPECT_EQ(ProviderError::missingAPIKey(ProviderID::anthropic).description(),
              "No API key set for Anthropic. Add one in Settings.");
    EXPECT_EQ(ProviderError::http(404, "model: x").description(), "Request failed (404): model: x");
    EXPECT_EQ(ProviderError::transport("reset").description(), "Network error: reset");
    EXPECT_EQ(ProviderError::timeout().description(), "The provider didn't respond in time.");
    EXPECT_STREQ(ProviderError::invalidResponse().what(), "The provider returned an unexpected response.");
}

// A gateway's error body need not be UTF-8; written out as JSON it must not throw.
TEST(ProviderFailure, DetailWithInvalidUtf8DumpsAsJson)
{
    const ProviderFailure failure =
        ProviderFailure::from(ProviderError::http(502, "bad \xFF\xC3 gateway"), ProviderID::openai);
    EXPECT_THROW(static_cast<void>(Json(*failure.detail).dump()), Json::type_error);
    EXPECT_EQ(dumpReplacingInvalidUtf8(Json(*failure.detail)), "\"HTTP 502 bad \uFFFD\uFFFD gateway\"");
}

} // namespace
} // namespace vesk
