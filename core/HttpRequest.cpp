#include "core/HttpRequest.h"

#include <algorithm>

namespace vesk {

namespace {

char asciiLower(char c)
{
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalIgnoringAsciiCase(std::string_view a, std::string_view b)
{
    return std::ranges::equal(a, b, [](char x, char y) { return asciiLower(x) == asciiLower(y); });
}

} // namespace

std::string_view HttpRequest::header(std::string_view name) const
{
    const auto found = std::ranges::find_if(
        headers, [name](const auto& header) { return equalIgnoringAsciiCase(header.first, name); });
    return found == headers.end() ? std::string_view{} : std::string_view(found->second);
}

Expected<HttpRequest, std::string>
makeJsonRequest(std::string url, std::vector<std::pair<std::string, std::string>> providerHeaders, const Json& body)
{
    HttpRequest request;
    request.method = "POST";
    request.url = std::move(url);
    request.idleTimeout = std::chrono::seconds(60);
    request.headers.reserve(providerHeaders.size() + 1);
    request.headers.emplace_back("Content-Type", "application/json");
    for (auto& header : providerHeaders) {
        request.headers.push_back(std::move(header));
    }
    try {
        request.body = body.dump();
    } catch (const Json::type_error&) {
        // The encoder's own message quotes the offending bytes, which are the user's text or the key; the
        // only strings it can reject are ones that are not UTF-8.
        return Unexpected{std::string("The text is not valid UTF-8.")};
    }
    return request;
}

std::string endpointUrl(std::string_view baseUrl, std::string_view path)
{
    while (baseUrl.ends_with('/')) {
        baseUrl.remove_suffix(1);
    }
    const std::size_t versionEnd = path.find('/', 1);
    if (versionEnd != std::string_view::npos && baseUrl.ends_with(path.substr(0, versionEnd))) {
        path.remove_prefix(versionEnd);
    }
    return std::string(baseUrl).append(path);
}

} // namespace vesk
