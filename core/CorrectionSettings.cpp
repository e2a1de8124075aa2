#include "core/CorrectionSettings.h"

#include <type_traits>

namespace vesk {

const CorrectionSettings& CorrectionSettings::standard()
{
    static const CorrectionSettings defaults;
    return defaults;
}

Json toJson(const CorrectionSettings& settings)
{
    Json json = Json::object();
    json["strength"] = rawValue(settings.strength);
    json["tone"] = rawValue(settings.tone);
    json["language"] = rawValue(settings.language);
    json["meaningLock"] = settings.meaningLock;
    json["preserveFormatting"] = settings.preserveFormatting;
    json["customInstructions"] = settings.customInstructions;
    return json;
}

namespace {

// The value under `key` if it is there with the JSON type T decodes from, else nothing and the reason.
template <typename T> const Json* requiredValue(const Json& object, const char* key, std::string& error)
{
    const auto found = object.find(key);
    if (found == object.end()) {
        error = std::string("missing key \"") + key + "\"";
        return nullptr;
    }
    const bool typed = std::is_same_v<T, bool> ? found->is_boolean() : found->is_string();
    if (!typed) {
        error = std::string("\"") + key + (std::is_same_v<T, bool> ? "\" is not a Boolean" : "\" is not a string");
        return nullptr;
    }
    return &*found;
}

template <typename T> bool decode(const Json& object, const char* key, T& out, std::string& error)
{
    const Json* value = requiredValue<T>(object, key, error);
    if (value != nullptr) {
        out = value->get<T>();
    }
    return value != nullptr;
}

template <typename E> bool decodeCase(const Json& object, const char* key, E& out, std::string& error)
{
    std::string raw;
    if (!decode(object, key, raw, error)) {
        return false;
    }
    const auto decoded = fromRawValue<E>(raw);
    if (!decoded) {
        error = std::string("\"") + key + "\" has an unknown value";
        return false;
    }
    out = *decoded;
    return true;
}

} // namespace

Expected<CorrectionSettings, std::string> correctionSettingsFromJson(const Json& json)
{
    if (!json.is_object()) {
        return Unexpected{std::string("correction settings are not an object")};
    }
    CorrectionSettings s;
    std::string error;
    const bool ok = decodeCase(json, "strength", s.strength, error) && decodeCase(json, "tone", s.tone, error) &&
                    decodeCase(json, "language", s.language, error) &&
                    decode(json, "meaningLock", s.meaningLock, error) &&
                    decode(json, "preserveFormatting", s.preserveFormatting, error) &&
                    decode(json, "customInstructions", s.customInstructions, error);
    if (!ok) {
        return Unexpected{std::move(error)};
    }
    return s;
}

} // namespace vesk
