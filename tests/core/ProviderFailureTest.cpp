#include "core/ProviderFailure.h"

#include "support/Golden.h"

#include <gtest/gtest.h>
#include <stdexcept>

namespace vesk {
namespace {

// Every error's description and the failure the user reads for it, word for word, in the golden file
// FailureTexts.txt. The failure always names the provider in use, and an error thrown and caught as any
// exception maps the same way; any other exception cannot correct.
TEST(ProviderFailure, TextsMatchTheirGoldenFile)
{
    const std::pair<ProviderError, ProviderID> errors[] = {
        {ProviderError::missingAPIKey(ProviderID::openai), ProviderID::anthropic},
        {ProviderError::http(401, "invalid x-api-key"), ProviderID::anthropic},
        {ProviderError::http(403, "no"), ProviderID::openai},
        {ProviderError::http(429, "slow down"), ProviderID::openai},
        {ProviderError::http(500, "upstream"), ProviderID::anthropic},
        {ProviderError::http(404, "model: x"), ProviderID::openai},
        {ProviderError::transport("Could not connect"), ProviderID::openai},
        {ProviderError::timeout(), ProviderID::anthropic},
        {ProviderError::invalidCorrectionOutput("empty response"), ProviderID::openai},
        {ProviderError::cutOff(), ProviderID::openai},
        {ProviderError::streamError("Overloaded"), ProviderID::anthropic},
        {ProviderError::replyTooLong(), ProviderID::anthropic},
        {ProviderError::replyTooLarge(), ProviderID::openai},
        {ProviderError::selectionTooLong(), ProviderID::openai},
        {ProviderError::deadlineExceeded(), ProviderID::anthropic},
        {ProviderError::redirect(308, "https://api.example.com/v1/messages"), ProviderID::anthropic},
        {ProviderError::certificate("SSL peer certificate or SSH remote key was not OK"), ProviderID::openai},
        {ProviderError::invalidResponse("a part of the reply could not be read"), ProviderID::openai},
        {ProviderError::invalidResponse(), ProviderID::anthropic},
    };
    // One line a case: the error's description and provider, then the title, the message and the detail.
    const auto shown = [](const ProviderFailure& failure) {
        return failure.title + " | " + failure.message + " | " + failure.detail.value_or("-") +
               (failure.fixableInSettings ? " | fixable in Settings\n" : "\n");
    };
    std::string texts;
    for (const auto& [error, provider] : errors) {
        const ProviderFailure failure = ProviderFailure::from(error, provider);
        try {
            throw error;
        } catch (const std::exception& caught) {
            EXPECT_EQ(ProviderFailure::from(caught, provider), failure) << error.what();
        }
        texts += error.description() + " [" + std::string(displayName(provider)) + "] -> " + shown(failure);
    }
    texts += "runtime_error [OpenAI] -> " +
             shown(ProviderFailure::from(std::runtime_error("disk on fire"), ProviderID::openai));
    test::expectGolden("FailureTexts", texts);
}

} // namespace
} // namespace vesk
