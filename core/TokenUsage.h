#pragma once

#include <cstdint>

namespace vesk {

// Tokens a provider billed for one call.
struct TokenUsage
{
    std::int64_t promptTokens = 0;     // system prompt plus the user's text
    std::int64_t completionTokens = 0; // the reply

    bool operator==(const TokenUsage&) const = default;
};

} // namespace vesk
