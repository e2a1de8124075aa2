#include "core/ProviderFailure.h"

namespace vesk {

ProviderFailure ProviderFailure::from(const ProviderError& error, ProviderID provider)
{
    using Kind = ProviderError::Kind;
    const std::string name(displayName(provider));
    switch (error.kind()) {
    case Kind::missingAPIKey:
        return {"No " + name + " key yet", "Add your API key in Settings.", std::nullopt, true};
    case Kind::http: {
        std::string detail = "HTTP " + std::to_string(error.status()) + " " + error.text();
        if (error.status() == 401 || error.status() == 403) {
            return {name + " rejected the key", "Check the key and paste it again.", std::move(detail), true};
        }
        if (error.status() == 429) {
            return {name + " is rate limiting", "Wait a moment and try again.", std::move(detail)};
        }
        return {name + " returned an error", "Try again in a moment.", std::move(detail)};
    }
    case Kind::transport:
        return {name + " didn't respond", "Check your connection and try again.", error.text()};
    case Kind::timeout:
        return {name + " didn't respond", "Check your connection and try again.", std::nullopt};
    case Kind::invalidCorrectionOutput:
    case Kind::invalidResponse:
        return {name + " sent an unexpected reply", "Try again.", error.description()};
    case Kind::cutOff:
        return {name + "'s reply was cut off", "The reply stopped before it was finished. Try again.", std::nullopt};
    case Kind::streamError:
        return {name + " reported an error", "Try again in a moment.", error.text()};
    case Kind::replyTooLong:
        return {name + "'s reply was too long", "The model stopped at its length limit. Try a shorter selection.",
                std::nullopt};
    case Kind::replyTooLarge:
        return {name + "'s reply was too long", "Vesk stopped reading it at 1 MB. Try a shorter selection.",
                std::nullopt};
    case Kind::selectionTooLong:
        return {"The text is too long", "Vesk corrects up to 100,000 characters at a time. Select less and try again.",
                std::nullopt};
    case Kind::redirect:
        return {name + " redirected the request", "Check the address in Settings: Vesk doesn't follow redirects.",
                error.description(), true};
    case Kind::certificate:
        return {name + "'s certificate wasn't trusted",
                "The connection isn't secure, so nothing was sent. Check the address and your network.", error.text()};
    case Kind::deadlineExceeded:
        return {name + " took too long", "The reply didn't finish within 5 minutes. Try a shorter selection.",
                std::nullopt};
    }
    return {"Couldn't correct", error.description(), std::nullopt};
}

ProviderFailure ProviderFailure::from(const std::exception& error, ProviderID provider)
{
    if (const auto* providerError = dynamic_cast<const ProviderError*>(&error)) {
        return from(*providerError, provider);
    }
    return {"Couldn't correct", error.what(), std::nullopt};
}

} // namespace vesk
