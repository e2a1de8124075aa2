#include "core/ProviderDialect.h"

#include "core/JsonFields.h"
#include "core/PromptBuilder.h"

namespace vesk {

StreamedJsonDialect::StreamedJsonDialect(std::string_view baseUrl, std::string_view path)
    : m_endpoint(endpointUrl(baseUrl, path))
{
}

Expected<HttpRequest, std::string> StreamedJsonDialect::makeRequest(std::string_view system, std::string_view text,
                                                                    std::string_view model,
                                                                    std::string_view apiKey) const
{
    Json body;
    body["model"] = std::string(model);
    body["temperature"] = 0.2;
    body["stream"] = true;
    completeBody(body, system, PromptBuilder::userMessage(text), text.size());
    return makeJsonRequest(m_endpoint, headers(apiKey), body);
}

ProviderEvent StreamedJsonDialect::parseEvent(std::string_view payload) const
{
    const Json event = Json::parse(payload, nullptr, /*allow_exceptions=*/false);
    ProviderEvent result;
    if (!event.is_object() || !read(event, result)) {
        return ProviderEvent::undecodablePayload();
    }
    result.error = JsonFields::streamError(event);
    return result;
}

} // namespace vesk
