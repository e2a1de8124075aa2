#pragma once

#include "core/Saturating.h"

#include <cstdint>

namespace vesk {

// Tokens a provider billed for one call.
struct TokenUsage
{
    std::int64_t promptTokens = 0;     // system prompt plus the user's text
    std::int64_t completionTokens = 0; // the reply

    // Held at INT64_MAX: a provider may report any count up to it.
    [[nodiscard]] std::int64_t total() const { return saturatingAdd(promptTokens, completionTokens); }

    bool operator==(const TokenUsage&) const = default;
};

} // namespace vesk
