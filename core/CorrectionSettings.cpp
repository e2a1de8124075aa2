#include "core/CorrectionSettings.h"

namespace vesk {

const CorrectionSettings& CorrectionSettings::standard()
{
    static const CorrectionSettings defaults;
    return defaults;
}

Json toJson(const CorrectionSettings& settings)
{
    return Json{
        {"strength", rawValue(settings.strength)},           {"tone", rawValue(settings.tone)},
        {"language", rawValue(settings.language)},           {"meaningLock", settings.meaningLock},
        {"preserveFormatting", settings.preserveFormatting}, {"customInstructions", settings.customInstructions}};
}

} // namespace vesk
