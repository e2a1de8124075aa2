#pragma once

// Anthropic's Messages API, streamed as server-sent events.

#include "core/ProviderDialect.h"

#include <string>
#include <string_view>

namespace vesk {

class AnthropicDialect final : public ProviderDialect
{
public:
    static constexpr std::string_view defaultBaseUrl = "https://api.anthropic.com";
    static constexpr std::string_view path = "/v1/messages";

    // `baseUrl` is scheme, host and optional port, as a proxy or gateway in front of the API is addressed.
    explicit AnthropicDialect(std::string_view baseUrl = defaultBaseUrl);

    Expected<HttpRequest, std::string> makeRequest(std::string_view system, std::string_view text,
                                                   std::string_view model, std::string_view apiKey) const override;
    ProviderEvent parseEvent(std::string_view payload) const override;

    [[nodiscard]] const std::string& endpoint() const { return m_endpoint; }

private:
    std::string m_endpoint;
};

} // namespace vesk
