#pragma once

// One provider's wire format: the request for a correction and the reading of one streamed payload.

#include "core/Expected.h"
#include "core/HttpRequest.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vesk {

// What one "data:" payload of the stream carried.
struct ProviderEvent
{
    std::optional<std::string> delta;
    std::optional<std::int64_t> promptTokens;
    std::optional<std::int64_t> completionTokens;

    bool operator==(const ProviderEvent&) const = default;
};

class ProviderDialect
{
public:
    virtual ~ProviderDialect() = default;

    // The streamed request for `text` (wrapped in the prompt delimiters here). Fails only when the body
    // cannot be encoded.
    virtual Expected<HttpRequest, std::string> makeRequest(std::string_view system, std::string_view text,
                                                           std::string_view model, std::string_view apiKey) const = 0;

    // Never fails: a payload that cannot be decoded gives an event with nothing in it.
    virtual ProviderEvent parseEvent(std::string_view payload) const = 0;
};

} // namespace vesk
