#include "core/AppSettingsSnapshot.h"

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

// A map keyed by provider raw values; unknown providers are dropped, non-string values fail.
bool readProviderMap(const Json& json, std::map<ProviderID, std::string>& out)
{
    if (!json.is_object()) {
        return false;
    }
    for (const auto& [key, value] : json.items()) {
        if (!value.is_string()) {
            return false;
        }
        if (const auto provider = fromRawValue<ProviderID>(key)) {
            out[*provider] = value.get<std::string>();
        }
    }
    return true;
}

bool readOptionalBool(const Json& json, const char* key, bool& out)
{
    const auto found = json.find(key);
    if (found == json.end()) {
        return true;
    }
    if (!found->is_boolean()) {
        return false;
    }
    out = found->get<bool>();
    return true;
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

Expected<AppSettingsSnapshot, std::string> appSettingsFromJson(const Json& json)
{
    if (!json.is_object()) {
        return Unexpected{std::string("settings are not an object")};
    }
    AppSettingsSnapshot snapshot;
    const auto provider = json.find("selectedProvider");
    if (provider == json.end() || !provider->is_string()) {
        return Unexpected{std::string("\"selectedProvider\" is missing or not a string")};
    }
    const auto selected = fromRawValue<ProviderID>(provider->get_ref<const std::string&>());
    if (!selected) {
        return Unexpected{std::string("\"selectedProvider\" names no known provider")};
    }
    snapshot.selectedProvider = *selected;

    const auto models = json.find("models");
    if (models == json.end() || !readProviderMap(*models, snapshot.models)) {
        return Unexpected{std::string("\"models\" is missing or malformed")};
    }
    const auto correction = json.find("correction");
    if (correction == json.end()) {
        return Unexpected{std::string("\"correction\" is missing")};
    }
    auto decoded = correctionSettingsFromJson(*correction);
    if (!decoded) {
        return Unexpected{"\"correction\": " + decoded.error()};
    }
    snapshot.correction = std::move(decoded).value();

    if (!readOptionalBool(json, "hasOnboarded", snapshot.hasOnboarded) ||
        !readOptionalBool(json, "reviewBeforeReplacing", snapshot.reviewBeforeReplacing)) {
        return Unexpected{std::string("a switch is not a Boolean")};
    }
    const auto endpoints = json.find("endpoints");
    if (endpoints != json.end() && !readProviderMap(*endpoints, snapshot.endpoints)) {
        return Unexpected{std::string("\"endpoints\" is malformed")};
    }
    return snapshot;
}

} // namespace vesk
