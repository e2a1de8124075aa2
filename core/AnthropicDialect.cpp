#include "core/JsonFields.h"
#include "core/ProviderDialect.h"

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

class AnthropicDialect final : public StreamedJsonDialect
{
public:
    explicit AnthropicDialect(std::string_view baseUrl) : StreamedJsonDialect(baseUrl, "/v1/messages") {}

private:
    void completeBody(Json& body, std::string_view system, std::string userMessage,
                      std::size_t textBytes) const override
    {
        body["max_tokens"] = maxTokens(textBytes);
        body["system"] = std::string(system);
        body["messages"] = Json::array({{{"role", "user"}, {"content", std::move(userMessage)}}});
    }

    Headers headers(std::string_view apiKey) const override
    {
        return {{"x-api-key", std::string(apiKey)}, {"anthropic-version", "2023-06-01"}};
    }

    // Reads fields, not event types: the opening event carries the prompt count, text deltas the text and the
    // closing delta the completion count and the stop reason. Event kinds added later decode to nothing and are
    // ignored; only "message_stop" is told by its type.
    bool read(const Json& event, ProviderEvent& result) const override
    {
        if (const Json* type = JsonFields::member(event, "type"); type != nullptr && *type == "message_stop") {
            result.endOfMessage = true;
        }
        if (const Json* delta = JsonFields::member(event, "delta")) {
            std::optional<std::string> reason;
            if (!delta->is_object() || !JsonFields::readString(*delta, "text", result.delta) ||
                !JsonFields::readString(*delta, "stop_reason", reason)) {
                return false;
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
        if (const Json* usage = JsonFields::member(event, "usage");
            usage && !readUsage(*usage, ignored, result.completionTokens)) {
            return false;
        }
        const Json* message = JsonFields::member(event, "message");
        if (message == nullptr) {
            return true;
        }
        if (!message->is_object()) {
            return false;
        }
        const Json* usage = JsonFields::member(*message, "usage");
        return usage == nullptr || readUsage(*usage, result.promptTokens, ignored);
    }
};

} // namespace

std::shared_ptr<const ProviderDialect> makeAnthropicDialect(std::string_view baseUrl)
{
    return std::make_shared<AnthropicDialect>(baseUrl);
}

} // namespace vesk
