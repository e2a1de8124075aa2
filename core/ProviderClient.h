#pragma once

// Runs one streamed correction against one provider: request through the dialect, response through the
// transport, server-sent-event framing, collected text checked by the validator at the end.

#include "core/CorrectionEvent.h"
#include "core/ProviderDialect.h"
#include "core/ProviderID.h"
#include "core/ProviderTransport.h"

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <string_view>

namespace vesk {

class ProviderClient
{
public:
    ProviderClient(ProviderID provider, std::shared_ptr<const ProviderDialect> dialect,
                   std::shared_ptr<ProviderTransport> transport);
    // Picks the provider's dialect, talking to `baseUrl` (empty: the provider's public API host).
    ProviderClient(ProviderID provider, std::shared_ptr<ProviderTransport> transport, std::string baseUrl = {});

    [[nodiscard]] ProviderID provider() const { return m_provider; }

    // Blocks on the calling thread. Every event goes to `onEvent` as it is parsed. Returns nothing when
    // the stream ended normally (after `done`) or was stopped (no further events then), else the error.
    // A reply counts as finished only when the provider said so; one that stops short, reports an error
    // or has a payload that cannot be read is an error, whatever text came before.
    std::optional<ProviderError> stream(std::string_view systemPrompt, std::string_view text, std::string_view model,
                                        std::string_view apiKey, const std::function<void(CorrectionEvent)>& onEvent,
                                        std::stop_token stop = {}) const;

    // The message shown for an error body: the envelope's "error"."message" (or "error" as a string), else
    // the trimmed body, with every occurrence of a non-empty key replaced by "[redacted]", cut at
    // limits::errorMessageCharacters with an ellipsis.
    static std::string errorMessage(std::string_view body, std::string_view apiKey);

private:
    ProviderID m_provider;
    std::shared_ptr<const ProviderDialect> m_dialect;
    std::shared_ptr<ProviderTransport> m_transport;
};

// The dialect of a provider, talking to `baseUrl` (empty: the provider's public API host).
std::shared_ptr<const ProviderDialect> makeDialect(ProviderID provider, std::string baseUrl = {});

} // namespace vesk
