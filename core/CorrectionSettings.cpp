#include "core/CorrectionSettings.h"

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

const Json* requiredKey(const Json& object, const char* key, std::string& error)
{
    const auto found = object.find(key);
    if (found == object.end()) {
        error = std::string("missing key \"") + key + "\"";
        return nullptr;
    }
    return &*found;
}

template <typename E> bool decodeCase(const Json& object, const char* key, E& out, std::string& error)
{
    const Json* value = requiredKey(object, key, error);
    if (value == nullptr) {
        return false;
    }
    if (!value->is_string()) {
        error = std::string("\"") + key + "\" is not a string";
        return false;
    }
    const auto decoded = fromRawValue<E>(value->get_ref<const std::string&>());
    if (!decoded) {
        error = std::string("\"") + key + "\" has an unknown value";
        return false;
    }
    out = *decoded;
    return true;
}

bool decodeBool(const Json& object, const char* key, bool& out, std::string& error)
{
    const Json* value = requiredKey(object, key, error);
    if (value == nullptr) {
        return false;
    }
    if (!value->is_boolean()) {
        error = std::string("\"") + key + "\" is not a Boolean";
        return false;
    }
    out = value->get<bool>();
    return true;
}

bool decodeString(const Json& object, const char* key, std::string& out, std::string& error)
{
    const Json* value = requiredKey(object, key, error);
    if (value == nullptr) {
        return false;
    }
    if (!value->is_string()) {
        error = std::string("\"") + key + "\" is not a string";
        return false;
    }
    out = value->get<std::string>();
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
                    decodeBool(json, "meaningLock", s.meaningLock, error) &&
                    decodeBool(json, "preserveFormatting", s.preserveFormatting, error) &&
                    decodeString(json, "customInstructions", s.customInstructions, error);
    if (!ok) {
        return Unexpected{std::move(error)};
    }
    return s;
}

} // namespace vesk
