#pragma once

// A prepared HTTP request, as the provider dialects build it and a transport sends it.

#include "core/Expected.h"
#include "core/Json.h"
#include "core/Limits.h"

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vesk {

struct HttpRequest
{
    std::string method = "POST";
    std::string url;
    std::vector<std::pair<std::string, std::string>> headers; // in the order they are sent
    std::string body;
    // The longest wait without receiving a byte (connecting, waiting for the head, or between body bytes).
    // A long reply that keeps streaming is never cut.
    std::chrono::milliseconds idleTimeout = std::chrono::seconds(60);
    // The longest the whole exchange may take, however steadily bytes arrive.
    std::chrono::milliseconds deadline = limits::deadline;

    // The value of the first header with this name (ASCII case-insensitive), or an empty view.
    [[nodiscard]] std::string_view header(std::string_view name) const;
};

// The address of a provider's fixed API path under a base address. Trailing slashes on the base are
// dropped, and so is a version segment the path already has: OpenAI-compatible servers are usually
// documented with bases like "http://localhost:11434/v1", which must not become ".../v1/v1/...".
std::string endpointUrl(std::string_view baseUrl, std::string_view path);


// A provider call's request: POST, a 60-second idle time-out, "Content-Type:
// application/json", then the provider's headers, then the JSON body. Fails only when the body cannot
// be encoded (text that is not valid UTF-8); the error is a readable description.
Expected<HttpRequest, std::string>
makeJsonRequest(std::string url, std::vector<std::pair<std::string, std::string>> providerHeaders, const Json& body);

} // namespace vesk
