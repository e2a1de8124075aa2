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

} // namespace vesk
