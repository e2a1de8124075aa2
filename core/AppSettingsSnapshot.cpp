#include "core/AppSettingsSnapshot.h"

#include <algorithm>
#include <cctype>

namespace vesk {

std::string AppSettingsSnapshot::model(ProviderID provider) const
{
    const auto found = models.find(provider);
    return found != models.end() ? found->second : std::string(defaultModel(provider));
}

std::string AppSettingsSnapshot::endpoint(ProviderID provider) const
{
    const auto found = endpoints.find(provider);
    return found != endpoints.end() ? found->second : std::string();
}

namespace {

Json providerMap(const std::map<ProviderID, std::string>& map)
{
    Json json = Json::object();
    for (const auto& [provider, value] : map) {
        json[std::string(rawValue(provider))] = value;
    }
    return json;
}

// A key as one step of a JSON pointer.
std::string pointerToken(const std::string& key)
{
    std::string token;
    for (const char c : key) {
        token += c == '~' ? "~0" : c == '/' ? "~1" : std::string(1, c);
    }
    return token;
}

// Reads one document, noting what it could not use.
class Decoder
{
public:
    explicit Decoder(AppSettingsDecoding& out) : m_out(out) {}

    // Keys of `object` that no field reads, from a newer version perhaps: kept, no warning.
    void keepUnknownKeys(const Json& object, const std::string& at, std::initializer_list<std::string_view> known)
    {
        for (const auto& [key, value] : object.items()) {
            if (std::find(known.begin(), known.end(), key) == known.end()) {
                m_out.notUnderstood.push_back(at + "/" + pointerToken(key));
            }
        }
    }

    void notUnderstood(const std::string& pointer, const std::string& fallback)
    {
        m_out.notUnderstood.push_back(pointer);
        std::string name = pointer.substr(1);
        std::replace(name.begin(), name.end(), '/', '.');
        m_out.warnings.push_back("the saved \"" + name + "\" is not understood; " + fallback +
                                 " is used instead, and the file keeps what it holds");
    }

    template <typename T> void read(const Json& object, const char* key, const std::string& at, T& out)
    {
        const auto found = object.find(key);
        if (found == object.end()) {
            return; // missing: the default, nothing to keep
        }
        const bool typed = std::is_same_v<T, bool> ? found->is_boolean() : found->is_string();
        if (typed) {
            out = found->get<T>();
        } else {
            notUnderstood(at + "/" + key, Json(out).dump());
        }
    }

    template <typename E> void readCase(const Json& object, const char* key, const std::string& at, E& out)
    {
        const auto found = object.find(key);
        if (found == object.end()) {
            return;
        }
        const auto decoded = found->is_string() ? fromRawValue<E>(found->get_ref<const std::string&>()) : std::nullopt;
        if (decoded) {
            out = *decoded;
        } else {
            notUnderstood(at + "/" + key, "\"" + std::string(rawValue(out)) + "\"");
        }
    }

    // A map keyed by provider: entries under providers this version does not know are kept aside.
    void readProviderMap(const Json& object, const char* key, std::map<ProviderID, std::string>& out)
    {
        const auto found = object.find(key);
        if (found == object.end()) {
            return;
        }
        const std::string at = std::string("/") + key;
        if (!found->is_object()) {
            notUnderstood(at, "none");
            return;
        }
        for (const auto& [name, value] : found->items()) {
            const auto provider = fromRawValue<ProviderID>(name);
            if (provider && value.is_string()) {
                out[*provider] = value.get<std::string>();
            } else if (provider) {
                notUnderstood(at + "/" + name, "none");
            } else {
                m_out.notUnderstood.push_back(at + "/" + pointerToken(name));
            }
        }
    }

private:
    AppSettingsDecoding& m_out;
};

// The value at `pointer`, or null when there is none.
Json valueAt(const Json& json, const std::string& pointer)
{
    const Json::json_pointer at(pointer);
    return json.contains(at) ? json.at(at) : Json();
}

} // namespace

Json toJson(const AppSettingsSnapshot& snapshot)
{
    Json json = Json::object();
    json["selectedProvider"] = rawValue(snapshot.selectedProvider);
    json["models"] = providerMap(snapshot.models);
    json["correction"] = toJson(snapshot.correction);
    json["hasOnboarded"] = snapshot.hasOnboarded;
    json["reviewBeforeReplacing"] = snapshot.reviewBeforeReplacing;
    if (!snapshot.endpoints.empty()) {
        json["endpoints"] = providerMap(snapshot.endpoints);
    }
    return json;
}

AppSettingsDecoding decodeAppSettings(const Json& json)
{
    AppSettingsDecoding decoding;
    if (!json.is_object()) {
        decoding.warnings.emplace_back("the saved settings are not understood; the defaults are used");
        return decoding;
    }
    AppSettingsSnapshot& s = decoding.snapshot;
    Decoder decoder(decoding);
    decoder.keepUnknownKeys(json, "", {"selectedProvider", "models", "correction", "hasOnboarded",
                                       "reviewBeforeReplacing", "endpoints"});
    decoder.readCase(json, "selectedProvider", "", s.selectedProvider);
    decoder.readProviderMap(json, "models", s.models);
    decoder.readProviderMap(json, "endpoints", s.endpoints);
    decoder.read(json, "hasOnboarded", "", s.hasOnboarded);
    decoder.read(json, "reviewBeforeReplacing", "", s.reviewBeforeReplacing);
    if (const auto correction = json.find("correction"); correction != json.end() && !correction->is_object()) {
        decoder.notUnderstood("/correction", "the standard correction");
    } else if (correction != json.end()) {
        CorrectionSettings& c = s.correction;
        const std::string at = "/correction";
        decoder.keepUnknownKeys(*correction, at, {"strength", "tone", "language", "meaningLock",
                                                  "preserveFormatting", "customInstructions"});
        decoder.readCase(*correction, "strength", at, c.strength);
        decoder.readCase(*correction, "tone", at, c.tone);
        decoder.readCase(*correction, "language", at, c.language);
        decoder.read(*correction, "meaningLock", at, c.meaningLock);
        decoder.read(*correction, "preserveFormatting", at, c.preserveFormatting);
        decoder.read(*correction, "customInstructions", at, c.customInstructions);
    }
    return decoding;
}

Json storedAppSettings(const Json& stored, const AppSettingsDecoding& loaded, const AppSettingsSnapshot& next)
{
    Json document = toJson(next);
    const Json before = toJson(loaded.snapshot);
    for (const std::string& pointer : loaded.notUnderstood) {
        // What stood in for the value is unchanged (absent on both sides for a kept-aside entry).
        if (valueAt(before, pointer) == valueAt(document, pointer)) {
            document[Json::json_pointer(pointer)] = stored.at(Json::json_pointer(pointer));
        }
    }
    return document;
}

Expected<AppSettingsSnapshot, std::string> appSettingsFromJson(const Json& json)
{
    if (!json.is_object()) {
        return Unexpected{std::string("settings are not an object")};
    }
    return decodeAppSettings(json).snapshot;
}

std::optional<std::string> endpointProblem(std::string_view url)
{
    if (std::any_of(url.begin(), url.end(), [](char c) { return static_cast<unsigned char>(c) <= 0x20 || c == 0x7F; })) {
        return "it holds a space or a control character";
    }
    const auto schemeEnd = url.find("://");
    std::string scheme(url.substr(0, schemeEnd == std::string_view::npos ? 0 : schemeEnd));
    std::transform(scheme.begin(), scheme.end(), scheme.begin(), [](unsigned char c) { return std::tolower(c); });
    if (scheme != "http" && scheme != "https") {
        return "it must start with http:// or https://";
    }
    if (url.find('?') != std::string_view::npos) {
        return "a base address takes no query (the part from \"?\")";
    }
    if (url.find('#') != std::string_view::npos) {
        return "a base address takes no fragment (the part from \"#\")";
    }
    const std::string_view rest = url.substr(schemeEnd + 3);
    const std::string_view authority = rest.substr(0, rest.find('/'));
    if (authority.find('@') != std::string_view::npos) {
        return "it carries a user name or password; keys belong in the keyring";
    }
    // The host ends at the port's colon, past a bracketed IPv6 address.
    const auto bracketEnd = authority.starts_with('[') ? authority.find(']') : std::string_view::size_type{0};
    if (bracketEnd == std::string_view::npos) {
        return "its IPv6 address has no closing \"]\"";
    }
    const auto colon = authority.find(':', bracketEnd);
    const std::string_view host = authority.substr(0, colon);
    if (host.empty() || host == "[]") {
        return "it names no host";
    }
    if (colon != std::string_view::npos) {
        const std::string_view port = authority.substr(colon + 1);
        const bool digits = !port.empty() && port.size() <= 5 &&
                            std::all_of(port.begin(), port.end(), [](char c) { return c >= '0' && c <= '9'; });
        if (!digits || std::stoi(std::string(port)) < 1 || std::stoi(std::string(port)) > 65535) {
            return "its port must be a number from 1 to 65535";
        }
    }
    return std::nullopt;
}

} // namespace vesk
