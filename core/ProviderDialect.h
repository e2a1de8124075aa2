#pragma once

// One provider's wire format: the request for a correction and the reading of one streamed payload.

#include "core/Expected.h"
#include "core/HttpRequest.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vesk {

// Why the model stopped writing, as the stream reports it.
enum class StopReason {
    finished, // the reply is complete ("stop", "end_turn", "stop_sequence")
    tooLong,  // the model hit its output limit ("length", "max_tokens")
    other,    // a content filter, a refusal, a tool call: the reply is not the whole correction
};

// What one "data:" payload of the stream carried.
struct ProviderEvent
{
    std::optional<std::string> delta;
    std::optional<std::int64_t> promptTokens;
    std::optional<std::int64_t> completionTokens;
    std::optional<StopReason> stopReason;
    bool endOfMessage = false;        // the provider's own end of the reply (Anthropic's message_stop)
    std::optional<std::string> error; // an error reported inside the stream: the provider's message
    bool undecodable = false;         // not a payload of this dialect: whatever it carried is lost

    static ProviderEvent undecodablePayload()
    {
        ProviderEvent event;
        event.undecodable = true;
        return event;
    }

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

    // Never fails: a payload that cannot be decoded gives an event marked `undecodable` and nothing else.
    // Event kinds the dialect does not know decode to nothing and are not undecodable.
    virtual ProviderEvent parseEvent(std::string_view payload) const = 0;
};

} // namespace vesk
