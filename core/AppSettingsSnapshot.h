#pragma once

// The persisted form of the user's choices: one JSON document.

#include "core/CorrectionSettings.h"
#include "core/Expected.h"
#include "core/Json.h"
#include "core/ProviderID.h"

#include <map>
#include <optional>
#include <string>

namespace vesk {

struct AppSettingsSnapshot
{
    ProviderID selectedProvider = ProviderID::openai;
    std::map<ProviderID, std::string> models; // a provider missing here uses its default model
    CorrectionSettings correction;
    bool hasOnboarded = false;
    bool reviewBeforeReplacing = true;
    // Base addresses that replace a provider's public API host (OpenAI-compatible servers, gateways).
    std::map<ProviderID, std::string> endpoints;

    [[nodiscard]] std::string model(ProviderID provider) const;
    [[nodiscard]] std::string currentModel() const { return model(selectedProvider); }
    // The override for the provider, or empty for its public API host.
    [[nodiscard]] std::string endpoint(ProviderID provider) const;

    bool operator==(const AppSettingsSnapshot&) const = default;
};

// Every field is written; "endpoints" only when there are overrides.
Json toJson(const AppSettingsSnapshot& snapshot);

// "selectedProvider", "models" and "correction" are required; "hasOnboarded" (false),
// "reviewBeforeReplacing" (true) and "endpoints" (none) are optional. Entries under unknown provider
// names are dropped. Any other flaw fails the whole document.
Expected<AppSettingsSnapshot, std::string> appSettingsFromJson(const Json& json);

} // namespace vesk
