#include "core/JsonFields.h"
#include "core/ProviderDialect.h"

namespace vesk {

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

class OpenAIDialect final : public StreamedJsonDialect
{
public:
    explicit OpenAIDialect(std::string_view baseUrl) : StreamedJsonDialect(baseUrl, "/v1/chat/completions") {}

private:
    // No "max_tokens": the reply is limited by the model's own output cap.
    void completeBody(Json& body, std::string_view system, std::string userMessage, std::size_t) const override
    {
        body["stream_options"] = {{"include_usage", true}};
        body["messages"] = Json::array({
            {{"role", "system"}, {"content", std::string(system)}},
            {{"role", "user"}, {"content", std::move(userMessage)}},
        });
    }

    Headers headers(std::string_view apiKey) const override
    {
        return {{"Authorization", "Bearer " + std::string(apiKey)}};
    }

    // A chunk decodes as a whole or not at all: a usage object needs both counts, and a choice's delta must be
    // an object with text, else the chunk is undecodable. A choice without a delta (some servers' finish
    // chunk) carries no text.
    bool read(const Json& chunk, ProviderEvent& result) const override
    {
        if (const Json* choices = JsonFields::member(chunk, "choices")) {
            if (!choices->is_array()) {
                return false;
            }
            for (const Json& choice : *choices) {
                if (!choice.is_object()) {
                    return false;
                }
                const Json* delta = JsonFields::member(choice, "delta");
                std::optional<std::string> content;
                std::optional<std::string> finishReason;
                if ((delta != nullptr &&
                     (!delta->is_object() || !JsonFields::readString(*delta, "content", content))) ||
                    !JsonFields::readString(choice, "finish_reason", finishReason)) {
                    return false;
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
        const Json* usage = JsonFields::member(chunk, "usage");
        return usage == nullptr ||
               (usage->is_object() && JsonFields::readInteger(*usage, "prompt_tokens", result.promptTokens) &&
                JsonFields::readInteger(*usage, "completion_tokens", result.completionTokens) && result.promptTokens &&
                result.completionTokens);
    }
};

} // namespace

std::shared_ptr<const ProviderDialect> makeOpenAIDialect(std::string_view baseUrl)
{
    return std::make_shared<OpenAIDialect>(baseUrl);
}

} // namespace vesk
