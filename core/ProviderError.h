#pragma once

// What can go wrong while talking to a provider. A plain value that can also be thrown.

#include "core/ProviderID.h"

#include <exception>
#include <string>

namespace vesk {

class ProviderError : public std::exception
{
public:
    enum class Kind { missingAPIKey, invalidCorrectionOutput, http, transport, invalidResponse, timeout };

    static ProviderError missingAPIKey(ProviderID provider);
    static ProviderError invalidCorrectionOutput(std::string reason);
    static ProviderError http(int status, std::string message); // message extracted from the body, key masked
    static ProviderError transport(std::string description);
    static ProviderError invalidResponse();
    static ProviderError timeout();

    [[nodiscard]] Kind kind() const { return m_kind; }
    // The provider whose key is missing (missingAPIKey only).
    [[nodiscard]] ProviderID provider() const { return m_provider; }
    // The HTTP status (http only).
    [[nodiscard]] int status() const { return m_status; }
    // The reason, body message or transport description, as carried by the case; empty for the others.
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
