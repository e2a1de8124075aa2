#pragma once

// One provider's wire format: the request for a correction and the reading of one streamed payload.

#include "core/Expected.h"
#include "core/HttpRequest.h"
#include "core/Json.h"

#include <cstdint>
#include <memory>
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
    std::optional<std::string> delta{};
    std::optional<std::int64_t> promptTokens{};
    std::optional<std::int64_t> completionTokens{};
    std::optional<StopReason> stopReason{};
    bool endOfMessage = false;          // the provider's own end of the reply (Anthropic's message_stop)
    std::optional<std::string> error{}; // an error reported inside the stream: the provider's message
    bool undecodable = false;           // not a payload of this dialect: whatever it carried is lost

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

// What both APIs share: a fixed path under a base address; a streamed JSON POST of the model, a low
// temperature and the wrapped text; payloads that are JSON objects, with an error reported in the stream
// read the same way. Each API adds its own body fields and headers, and reads its own fields.
class StreamedJsonDialect : public ProviderDialect
{
public:
    Expected<HttpRequest, std::string> makeRequest(std::string_view system, std::string_view text,
                                                   std::string_view model, std::string_view apiKey) const final;
    ProviderEvent parseEvent(std::string_view payload) const final;

protected:
    StreamedJsonDialect(std::string_view baseUrl, std::string_view path);

    using Headers = std::vector<std::pair<std::string, std::string>>;
    // Adds the API's own fields to a body that has "model", "temperature" and "stream".
    virtual void completeBody(Json& body, std::string_view system, std::string userMessage,
                              std::size_t textBytes) const = 0;
    virtual Headers headers(std::string_view apiKey) const = 0;
    // Reads the API's fields of one payload into `result`; false when they are not of the API's shape.
    virtual bool read(const Json& event, ProviderEvent& result) const = 0;

private:
    std::string m_endpoint;
};

// `baseUrl` is scheme, host and optional port, as a local server, a proxy or a gateway is addressed.
// Anthropic's Messages API, streamed as server-sent events.
std::shared_ptr<const ProviderDialect> makeAnthropicDialect(std::string_view baseUrl = "https://api.anthropic.com");
// OpenAI's Chat Completions API, streamed with usage. OpenAI-compatible servers (Ollama, LM Studio, vLLM) speak
// it too, e.g. at "http://localhost:11434" for a local Ollama.
std::shared_ptr<const ProviderDialect> makeOpenAIDialect(std::string_view baseUrl = "https://api.openai.com");

} // namespace vesk
