#include "core/ProviderError.h"

#include "core/Limits.h"

namespace vesk {

namespace {

// The texts here and in ProviderFailure name the limits.
static_assert(limits::selectionCharacters == 100'000 && limits::replyBytes == 1'000'000 &&
              limits::deadline == std::chrono::minutes(5));

std::string describe(ProviderError::Kind kind, ProviderID provider, int status, const std::string& text)
{
    using Kind = ProviderError::Kind;
    switch (kind) {
    case Kind::missingAPIKey:
        return "No API key set for " + std::string(displayName(provider)) + ". Add one in Settings.";
    case Kind::invalidCorrectionOutput:
        return "The provider returned an invalid correction: " + text;
    case Kind::http:
        return "Request failed (" + std::to_string(status) + "): " + text;
    case Kind::transport:
        return "Network error: " + text;
    case Kind::invalidResponse:
        return text.empty() ? "The provider returned an unexpected response."
                            : "The provider returned an unexpected response: " + text;
    case Kind::timeout:
        return "The provider didn't respond in time.";
    case Kind::cutOff:
        return "The reply ended before the provider finished it.";
    case Kind::streamError:
        return "The provider reported an error: " + text;
    case Kind::replyTooLong:
        return "The reply reached the model's length limit before it was finished.";
    case Kind::replyTooLarge:
        return "The reply was longer than 1 MB.";
    case Kind::selectionTooLong:
        return "The text is longer than 100,000 characters.";
    case Kind::deadlineExceeded:
        return "The reply took longer than 5 minutes.";
    case Kind::redirect:
        return "Redirected (" + std::to_string(status) + ") to " + (text.empty() ? "no address" : text);
    case Kind::certificate:
        return "The server's certificate was not accepted: " + text;
    }
    return {};
}

} // namespace

ProviderError::ProviderError(Kind kind, ProviderID provider, int status, std::string text)
    : m_kind(kind), m_provider(provider), m_status(status), m_text(std::move(text)),
      m_description(describe(kind, provider, status, m_text))
{
}

ProviderError ProviderError::missingAPIKey(ProviderID provider)
{
    return {Kind::missingAPIKey, provider, 0, {}};
}

ProviderError ProviderError::invalidCorrectionOutput(std::string reason)
{
    return {Kind::invalidCorrectionOutput, ProviderID::openai, 0, std::move(reason)};
}

ProviderError ProviderError::http(int status, std::string message)
{
    return {Kind::http, ProviderID::openai, status, std::move(message)};
}

ProviderError ProviderError::transport(std::string description)
{
    return {Kind::transport, ProviderID::openai, 0, std::move(description)};
}

ProviderError ProviderError::invalidResponse()
{
    return {Kind::invalidResponse, ProviderID::openai, 0, {}};
}

ProviderError ProviderError::invalidResponse(std::string detail)
{
    return {Kind::invalidResponse, ProviderID::openai, 0, std::move(detail)};
}

ProviderError ProviderError::timeout()
{
    return {Kind::timeout, ProviderID::openai, 0, {}};
}

ProviderError ProviderError::cutOff()
{
    return {Kind::cutOff, ProviderID::openai, 0, {}};
}

ProviderError ProviderError::streamError(std::string message)
{
    return {Kind::streamError, ProviderID::openai, 0, std::move(message)};
}

ProviderError ProviderError::replyTooLong()
{
    return {Kind::replyTooLong, ProviderID::openai, 0, {}};
}

ProviderError ProviderError::replyTooLarge()
{
    return {Kind::replyTooLarge, ProviderID::openai, 0, {}};
}

ProviderError ProviderError::selectionTooLong()
{
    return {Kind::selectionTooLong, ProviderID::openai, 0, {}};
}

ProviderError ProviderError::deadlineExceeded()
{
    return {Kind::deadlineExceeded, ProviderID::openai, 0, {}};
}

ProviderError ProviderError::redirect(int status, std::string location)
{
    return {Kind::redirect, ProviderID::openai, status, std::move(location)};
}

ProviderError ProviderError::certificate(std::string description)
{
    return {Kind::certificate, ProviderID::openai, 0, std::move(description)};
}

bool ProviderError::operator==(const ProviderError& other) const
{
    return m_kind == other.m_kind && m_provider == other.m_provider && m_status == other.m_status &&
           m_text == other.m_text;
}

} // namespace vesk
