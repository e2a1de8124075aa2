#pragma once

// The persisted form of the user's choices: one JSON document, read field by field so that one value this
// version does not understand costs that value alone, and is never written over unless the user changes it.

#include "core/CorrectionSettings.h"
#include "core/Expected.h"
#include "core/Json.h"
#include "core/ProviderID.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

// A stored document as this version reads it.
struct AppSettingsDecoding
{
    // Every understood field, and the default in place of each one that was not.
    AppSettingsSnapshot snapshot;
    // JSON pointers of what the document holds and the snapshot does not carry: values of the wrong type or
    // unknown, entries under unknown providers, keys of a newer version. Kept when the settings are stored.
    std::vector<std::string> notUnderstood;
    // One sentence for each value that was replaced by its default, for the log and the terminal.
    std::vector<std::string> warnings;
};

// Any JSON value; what is not an object decodes to the defaults with one warning.
AppSettingsDecoding decodeAppSettings(const Json& json);

// The document to store for `next`: its fields, except that each value `loaded` did not understand is
// written back as it was stored unless the user changed what stood in for it.
Json storedAppSettings(const Json& stored, const AppSettingsDecoding& loaded, const AppSettingsSnapshot& next);

// The decoded snapshot; fails only when the document is not an object.
Expected<AppSettingsSnapshot, std::string> appSettingsFromJson(const Json& json);

// Why `url` can't be a provider's base address ("http://localhost:11434", "https://gateway.example/v1"), or
// nothing when it can: it needs the http or https scheme and a host, and takes no query, fragment, user
// name, password, white space or control characters; a port is a number from 1 to 65535.
std::optional<std::string> endpointProblem(std::string_view url);

} // namespace vesk
