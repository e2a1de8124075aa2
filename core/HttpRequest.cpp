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

std::optional<std::string> baseUrlProblem(std::string_view baseUrl)
{
    if (std::ranges::any_of(baseUrl, [](char c) { return static_cast<unsigned char>(c) <= ' ' || c == 0x7F; })) {
        return "The address contains spaces or control characters.";
    }
    std::string_view rest;
    for (const std::string_view scheme : {"http://", "https://"}) {
        if (baseUrl.size() >= scheme.size() && equalIgnoringAsciiCase(baseUrl.substr(0, scheme.size()), scheme)) {
            rest = baseUrl.substr(scheme.size());
        }
    }
    if (rest.data() == nullptr) {
        return "The address must start with http:// or https://.";
    }
    if (rest.find('?') != std::string_view::npos) {
        return "A base address can't have a query (the part from \"?\").";
    }
    if (rest.find('#') != std::string_view::npos) {
        return "A base address can't have a fragment (the part from \"#\").";
    }
    std::string_view authority = rest.substr(0, rest.find('/'));
    authority.remove_prefix(authority.find('@') == std::string_view::npos ? 0 : authority.rfind('@') + 1);
    // A port follows the last colon, unless that colon is inside a bracketed IPv6 host.
    std::string_view host = authority;
    if (const auto colon = authority.rfind(':');
        colon != std::string_view::npos && authority.find(']', colon) == std::string_view::npos) {
        const std::string_view port = authority.substr(colon + 1);
        host = authority.substr(0, colon);
        if (port.empty() || port.size() > 5 ||
            !std::ranges::all_of(port, [](char c) { return c >= '0' && c <= '9'; }) ||
            std::stoi(std::string(port)) > 65535) {
            return "The port must be a number from 0 to 65535.";
        }
    }
    if (host.empty() || host == "[]") {
        return "The address has no host name.";
    }
    return std::nullopt;
}

} // namespace vesk
