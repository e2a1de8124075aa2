#pragma once

// The user-facing form of any failure: a title, what to do, and optional technical detail.

#include "core/ProviderError.h"

#include <exception>
#include <optional>
#include <string>

namespace vesk {

struct ProviderFailure
{
    std::string title;
    std::string message;
    std::optional<std::string> detail;
    // The user can fix this in Settings (a missing key, a key the provider rejected). Not part of what the
    // user reads, so not compared.
    bool fixableInSettings = false;

    bool operator==(const ProviderFailure& other) const
    {
        return title == other.title && message == other.message && detail == other.detail;
    }

    // The texts always name `provider`, whatever the error's own payload names.
    static ProviderFailure from(const ProviderError& error, ProviderID provider);
    // Total: a ProviderError maps as above, anything else reads "Couldn't correct" with its description.
    static ProviderFailure from(const std::exception& error, ProviderID provider);
};

} // namespace vesk
