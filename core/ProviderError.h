#pragma once

// What can go wrong while talking to a provider. A plain value that can also be thrown.

#include "core/ProviderID.h"

#include <exception>
#include <string>

namespace vesk {

class ProviderError : public std::exception
{
public:
    enum class Kind {
        missingAPIKey,
        invalidCorrectionOutput,
        http,
        transport,
        invalidResponse,
        timeout,
        cutOff,           // the stream ended before the provider said the reply was finished
        streamError,      // the provider reported an error inside the stream
        replyTooLong,     // the model hit its output limit
        replyTooLarge,    // the reply passed limits::replyBytes
        selectionTooLong, // the text passed limits::selectionCharacters; nothing was sent
        deadlineExceeded, // the request took longer than its deadline
        redirect,         // the server answered with a redirect, which is not followed
        certificate,      // the server's TLS certificate was not accepted; nothing was sent
    };

    static ProviderError missingAPIKey(ProviderID provider);
    static ProviderError invalidCorrectionOutput(std::string reason);
    static ProviderError http(int status, std::string message); // message extracted from the body, key masked
    static ProviderError transport(std::string description);
    static ProviderError invalidResponse();
    // A response that was not the stream asked for; `detail` says what it was instead.
    static ProviderError invalidResponse(std::string detail);
    static ProviderError timeout();
    static ProviderError cutOff();
    static ProviderError streamError(std::string message); // the provider's own message, key masked
    static ProviderError replyTooLong();
    static ProviderError replyTooLarge();
    static ProviderError selectionTooLong();
    static ProviderError deadlineExceeded();
    static ProviderError redirect(int status, std::string location); // location as the server sent it, or empty
    static ProviderError certificate(std::string description);

    [[nodiscard]] Kind kind() const { return m_kind; }
    // The provider whose key is missing (missingAPIKey only).
    [[nodiscard]] ProviderID provider() const { return m_provider; }
    // The HTTP status (http and redirect only).
    [[nodiscard]] int status() const { return m_status; }
    // The reason, message, detail or transport description, as carried by the case; empty for the others.
    [[nodiscard]] const std::string& text() const { return m_text; }

    // The user-readable description of the error.
    [[nodiscard]] const std::string& description() const { return m_description; }
    const char* what() const noexcept override { return m_description.c_str(); }

    bool operator==(const ProviderError& other) const;

private:
    ProviderError(Kind kind, ProviderID provider, int status, std::string text);

    Kind m_kind;
    ProviderID m_provider = ProviderID::openai;
    int m_status = 0;
    std::string m_text;
    std::string m_description;
};

} // namespace vesk
