#include "core/CorrectionRecord.h"

#include "core/CorrectionSettings.h"
#include "core/Pricing.h"
#include "core/UnicodeText.h"

namespace vesk {

CorrectionRecord CorrectionRecord::from(const AcceptedCorrection& accepted, std::chrono::system_clock::time_point date)
{
    CorrectionRecord record;
    record.date = date;
    record.providerRaw = std::string(rawValue(accepted.run.provider));
    record.model = accepted.run.model;
    record.original = accepted.original;
    record.corrected = accepted.corrected;
    if (accepted.usage) {
        record.promptTokens = accepted.usage->promptTokens;
        record.completionTokens = accepted.usage->completionTokens;
    }
    record.estimatedCost = Pricing::estimatedCost(accepted.run.model, accepted.usage);
    record.changeCount = accepted.changeCount;
    record.sourceApp = accepted.sourceApp;
    record.strengthRaw = std::string(rawValue(accepted.run.options.strength));
    record.toneRaw = std::string(rawValue(accepted.run.options.tone));
    return record;
}

std::int64_t CorrectionRecord::totalTokens() const
{
    return TokenUsage{promptTokens, completionTokens}.total();
}

std::string CorrectionRecord::providerName() const
{
    const auto provider = fromRawValue<ProviderID>(providerRaw);
    return provider ? std::string(displayName(*provider)) : providerRaw;
}

std::optional<std::string> CorrectionRecord::settingsLabel() const
{
    if (!strengthRaw || !toneRaw) {
        return std::nullopt;
    }
    const auto strength = fromRawValue<CorrectionStrength>(*strengthRaw);
    const auto tone = fromRawValue<Tone>(*toneRaw);
    if (!strength || !tone) {
        return std::nullopt;
    }
    return std::string(title(*strength)) + " \u00B7 " + std::string(title(*tone));
}

std::string CorrectionRecord::fixesLabel() const
{
    return changeCount == 1 ? std::string("1 fix") : std::to_string(changeCount) + " fixes";
}

std::string CorrectionRecord::changesLabel() const
{
    return changeCount == 1 ? std::string("1 change") : std::to_string(changeCount) + " changes";
}

std::string CorrectionRecord::sourceLabel() const
{
    return sourceApp ? *sourceApp : std::string("Write");
}

std::string CorrectionRecord::searchText(std::string_view localeId) const
{
    // Fields are kept apart by the unit separator, which no typed query holds, so a match never spans two
    // fields.
    std::string text;
    for (const std::string& field : {original, corrected, providerName(), model, sourceLabel()}) {
        text += unicode::foldedForComparison(field, localeId);
        text += '\x1F';
    }
    return text;
}

std::string foldedQuery(std::string_view query, std::string_view localeId)
{
    const std::string_view trimmed = unicode::trimmed(query);
    return trimmed.empty() ? std::string() : unicode::foldedForComparison(trimmed, localeId);
}

} // namespace vesk
