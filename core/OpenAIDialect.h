#pragma once

// OpenAI's Chat Completions API, streamed with usage. OpenAI-compatible servers (Ollama, LM Studio, vLLM)
// speak it too.

#include "core/ProviderDialect.h"

#include <string>
#include <string_view>

namespace vesk {

class OpenAIDialect final : public ProviderDialect
{
public:
    static constexpr std::string_view defaultBaseUrl = "https://api.openai.com";
    static constexpr std::string_view path = "/v1/chat/completions";

    // `baseUrl` is scheme, host and optional port, e.g. "http://localhost:11434" for a local Ollama.
    explicit OpenAIDialect(std::string_view baseUrl = defaultBaseUrl);

    Expected<HttpRequest, std::string> makeRequest(std::string_view system, std::string_view text,
                                                   std::string_view model, std::string_view apiKey) const override;
    ProviderEvent parseEvent(std::string_view payload) const override;

    [[nodiscard]] const std::string& endpoint() const { return m_endpoint; }

private:
    std::string m_endpoint;
};

} // namespace vesk
