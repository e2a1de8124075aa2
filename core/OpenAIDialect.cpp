#include "core/OpenAIDialect.h"

#include "core/JsonFields.h"
#include "core/PromptBuilder.h"

namespace vesk {

OpenAIDialect::OpenAIDialect(std::string_view baseUrl)
{
    m_endpoint = endpointUrl(baseUrl, path);
}

// No "max_tokens": the reply is limited by the model's own output cap.
Expected<HttpRequest, std::string> OpenAIDialect::makeRequest(std::string_view system, std::string_view text,
                                                              std::string_view model, std::string_view apiKey) const
{
    Json body;
    body["model"] = std::string(model);
    body["temperature"] = 0.2;
    body["stream"] = true;
    body["stream_options"] = {{"include_usage", true}};
    body["messages"] = Json::array({
        {{"role", "system"}, {"content", std::string(system)}},
        {{"role", "user"}, {"content", PromptBuilder::userMessage(text)}},
    });
    return makeJsonRequest(m_endpoint, {{"Authorization", "Bearer " + std::string(apiKey)}}, body);
}

namespace {

std::optional<StopReason> stopReason(const std::string& finishReason)
{
    if (finishReason == "stop") {
        return StopReason::finished;
    }
    if (finishReason == "length") {
        return StopReason::tooLong;
    }
    return StopReason::other;
}

} // namespace

// A chunk decodes as a whole or not at all: a usage object needs both counts, and a choice's delta must be
// an object with text, else the chunk is undecodable. A choice without a delta (some servers' finish
// chunk) carries no text.
ProviderEvent OpenAIDialect::parseEvent(std::string_view payload) const
{
    const Json chunk = Json::parse(payload, nullptr, /*allow_exceptions=*/false);
    if (!chunk.is_object()) {
        return ProviderEvent::undecodablePayload();
    }

    ProviderEvent result;
    result.error = JsonFields::streamError(chunk);
    if (const Json* choices = JsonFields::member(chunk, "choices")) {
        if (!choices->is_array()) {
            return ProviderEvent::undecodablePayload();
        }
        for (const Json& choice : *choices) {
            if (!choice.is_object()) {
                return ProviderEvent::undecodablePayload();
            }
            const Json* delta = JsonFields::member(choice, "delta");
            std::optional<std::string> content;
            std::optional<std::string> finishReason;
            if ((delta != nullptr && (!delta->is_object() || !JsonFields::readString(*delta, "content", content))) ||
                !JsonFields::readString(choice, "finish_reason", finishReason)) {
                return ProviderEvent::undecodablePayload();
            }
            // Only the first choice is shown; the request asks for one.
            if (&choice == &choices->front()) {
                result.delta = std::move(content);
                if (finishReason) {
                    result.stopReason = stopReason(*finishReason);
                }
            }
        }
    }
    if (const Json* usage = JsonFields::member(chunk, "usage")) {
        if (!usage->is_object() || !JsonFields::readInteger(*usage, "prompt_tokens", result.promptTokens) ||
            !JsonFields::readInteger(*usage, "completion_tokens", result.completionTokens) || !result.promptTokens ||
            !result.completionTokens) {
            return ProviderEvent::undecodablePayload();
        }
    }
    return result;
}

} // namespace vesk
