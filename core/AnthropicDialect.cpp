#include "core/AnthropicDialect.h"

#include "core/JsonFields.h"
#include "core/PromptBuilder.h"

#include <cstddef>
#include <cstdint>

namespace vesk {

namespace {

// Half a token per byte of the text leaves room for a reply somewhat longer than the text, with a floor
// for short texts and the cap the smallest models accept.
std::int64_t maxTokens(std::size_t textBytes)
{
    if (textBytes >= 32768) {
        return 16384;
    }
    if (textBytes > 511) {
        return static_cast<std::int64_t>(textBytes / 2);
    }
    return 256;
}

// A usage object as the stream sends it: both counts optional.
bool readUsage(const Json& usage, std::optional<std::int64_t>& input, std::optional<std::int64_t>& output)
{
    return usage.is_object() && JsonFields::readInteger(usage, "input_tokens", input) &&
           JsonFields::readInteger(usage, "output_tokens", output);
}

} // namespace

AnthropicDialect::AnthropicDialect(std::string_view baseUrl)
{
    m_endpoint = endpointUrl(baseUrl, path);
}

Expected<HttpRequest, std::string> AnthropicDialect::makeRequest(std::string_view system, std::string_view text,
                                                                 std::string_view model, std::string_view apiKey) const
{
    Json body;
    body["model"] = std::string(model);
    body["max_tokens"] = maxTokens(text.size());
    body["temperature"] = 0.2;
    body["stream"] = true;
    body["system"] = std::string(system);
    body["messages"] = Json::array({{{"role", "user"}, {"content", PromptBuilder::userMessage(text)}}});
    return makeJsonRequest(m_endpoint, {{"x-api-key", std::string(apiKey)}, {"anthropic-version", "2023-06-01"}}, body);
}

// Reads fields, not event types: the opening event carries the prompt count, text deltas the text and the
// closing delta the completion count and the stop reason. Event kinds added later decode to nothing and are
// ignored; only "message_stop" and "error" are told by their type.
ProviderEvent AnthropicDialect::parseEvent(std::string_view payload) const
{
    const Json event = Json::parse(payload, nullptr, /*allow_exceptions=*/false);
    if (!event.is_object()) {
        return ProviderEvent::undecodablePayload();
    }

    ProviderEvent result;
    result.error = JsonFields::streamError(event);
    if (const Json* type = JsonFields::member(event, "type"); type != nullptr && *type == "message_stop") {
        result.endOfMessage = true;
    }
    if (const Json* delta = JsonFields::member(event, "delta")) {
        std::optional<std::string> reason;
        if (!delta->is_object() || !JsonFields::readString(*delta, "text", result.delta) ||
            !JsonFields::readString(*delta, "stop_reason", reason)) {
            return ProviderEvent::undecodablePayload();
        }
        if (reason) {
            result.stopReason = *reason == "end_turn" || *reason == "stop_sequence" ? StopReason::finished
                                : *reason == "max_tokens"                           ? StopReason::tooLong
                                                                                    : StopReason::other;
        }
    }
    // Top-level usage repeats the prompt count on recent servers, and the opening message reports a
    // placeholder completion count; only the other of each pair is taken.
    std::optional<std::int64_t> ignored;
    if (const Json* usage = JsonFields::member(event, "usage")) {
        if (!readUsage(*usage, ignored, result.completionTokens)) {
            return ProviderEvent::undecodablePayload();
        }
    }
    if (const Json* message = JsonFields::member(event, "message")) {
        if (!message->is_object()) {
            return ProviderEvent::undecodablePayload();
        }
        if (const Json* usage = JsonFields::member(*message, "usage")) {
            if (!readUsage(*usage, result.promptTokens, ignored)) {
                return ProviderEvent::undecodablePayload();
            }
        }
    }
    return result;
}

} // namespace vesk
