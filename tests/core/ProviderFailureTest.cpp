#include "core/ProviderFailure.h"

#include "core/Json.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace vesk {
namespace {

// Thrown and caught as any exception, an error maps the same way.
TEST(ProviderFailure, TextsAreExact)
{
    const auto failure = [](const ProviderError& error, ProviderID provider) {
        try {
            throw error;
        } catch (const std::exception& e) {
            EXPECT_EQ(ProviderFailure::from(e, provider), ProviderFailure::from(error, provider));
        }
        return ProviderFailure::from(error, provider);
    };
    EXPECT_EQ(failure(ProviderError::missingAPIKey(ProviderID::openai), ProviderID::anthropic),
              (ProviderFailure{"No Anthropic key yet", "Add your API key in Settings.", std::nullopt}))
        << "the provider in use";
    EXPECT_EQ(failure(ProviderError::http(401, "invalid x-api-key"), ProviderID::anthropic),
              (ProviderFailure{"Anthropic rejected the key", "Check the key and paste it again.",
                               "HTTP 401 invalid x-api-key"}));
    EXPECT_EQ(failure(ProviderError::http(403, "no"), ProviderID::openai),
              (ProviderFailure{"OpenAI rejected the key", "Check the key and paste it again.", "HTTP 403 no"}));
    EXPECT_EQ(failure(ProviderError::http(429, "slow down"), ProviderID::openai),
              (ProviderFailure{"OpenAI is rate limiting", "Wait a moment and try again.", "HTTP 429 slow down"}));
    EXPECT_EQ(failure(ProviderError::http(500, ""), ProviderID::anthropic),
              (ProviderFailure{"Anthropic returned an error", "Try again in a moment.", "HTTP 500 "}));
    EXPECT_EQ(failure(ProviderError::transport("Could not connect"), ProviderID::openai),
              (ProviderFailure{"OpenAI didn't respond", "Check your connection and try again.", "Could not connect"}));
    EXPECT_EQ(failure(ProviderError::timeout(), ProviderID::anthropic),
              (ProviderFailure{"Anthropic didn't respond", "Check your connection and try again.", std::nullopt}));
    EXPECT_EQ(failure(ProviderError::invalidCorrectionOutput("empty response"), ProviderID::openai),
              (ProviderFailure{"OpenAI sent an unexpected reply", "Try again.",
                               "The provider returned an invalid correction: empty response"}));
    EXPECT_EQ(failure(ProviderError::cutOff(), ProviderID::openai),
              (ProviderFailure{"OpenAI's reply was cut off", "The reply stopped before it was finished. Try again.",
                               std::nullopt}));
    EXPECT_EQ(failure(ProviderError::streamError("Overloaded"), ProviderID::anthropic),
              (ProviderFailure{"Anthropic reported an error", "Try again in a moment.", "Overloaded"}));
    EXPECT_EQ(failure(ProviderError::replyTooLong(), ProviderID::anthropic),
              (ProviderFailure{"Anthropic's reply was too long",
                               "The model stopped at its length limit. Try a shorter selection.", std::nullopt}));
    EXPECT_EQ(failure(ProviderError::replyTooLarge(), ProviderID::openai),
              (ProviderFailure{"OpenAI's reply was too long",
                               "Vesk stopped reading it at 1 MB. Try a shorter selection.", std::nullopt}));
    EXPECT_EQ(failure(ProviderError::selectionTooLong(), ProviderID::openai),
              (ProviderFailure{"The text is too long",
                               "Vesk corrects up to 100,000 characters at a time. Select less and try again.",
                               std::nullopt}));
    EXPECT_EQ(failure(ProviderError::deadlineExceeded(), ProviderID::anthropic),
              (ProviderFailure{"Anthropic took too long",
                               "The reply didn't finish within 5 minutes. Try a shorter selection.", std::nullopt}));
    EXPECT_EQ(failure(ProviderError::redirect(308, "https://api.example.com/v1/messages"), ProviderID::anthropic),
              (ProviderFailure{"Anthropic redirected the request",
                               "Check the address in Settings: Vesk doesn't follow redirects.",
                               "Redirected (308) to https://api.example.com/v1/messages"}));
    EXPECT_EQ(
        failure(ProviderError::certificate("SSL peer certificate or SSH remote key was not OK"), ProviderID::openai),
        (ProviderFailure{"OpenAI's certificate wasn't trusted",
                         "The connection isn't secure, so nothing was sent. Check the address and your network.",
                         "SSL peer certificate or SSH remote key was not OK"}));
    EXPECT_EQ(failure(ProviderError::invalidResponse("a part of the reply could not be read"), ProviderID::openai),
              (ProviderFailure{"OpenAI sent an unexpected reply", "Try again.",
                               "The provider returned an unexpected response: a part of the reply could not be read"}));
    EXPECT_EQ(failure(ProviderError::invalidResponse(), ProviderID::anthropic),
              (ProviderFailure{"Anthropic sent an unexpected reply", "Try again.",
                               "The provider returned an unexpected response."}));
}

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
