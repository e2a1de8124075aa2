#pragma once

// One accepted correction as the history keeps it, with the labels the views show.

#include "core/AcceptedCorrection.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vesk {

struct CorrectionRecord
{
    std::int64_t id = 0; // the store's row id; 0 until stored
    std::chrono::system_clock::time_point date;
    std::string providerRaw;
    std::string model;
    std::string original;
    std::string corrected;
    std::int64_t promptTokens = 0;
    std::int64_t completionTokens = 0;
    double estimatedCost = 0;
    int changeCount = 0;
    std::optional<std::string> sourceApp; // absent for the composer
    std::optional<std::string> strengthRaw;
    std::optional<std::string> toneRaw;

    // The record of an accepted correction at `date`: usage 0 when none was reported, cost from the
    // price table.
    static CorrectionRecord from(const AcceptedCorrection& accepted, std::chrono::system_clock::time_point date);

    [[nodiscard]] std::int64_t totalTokens() const; // held at INT64_MAX
    // "OpenAI", "Anthropic", or the raw value itself for a provider this version does not know.
    [[nodiscard]] std::string providerName() const;
    // "Polish · Preserve original"; absent unless both raw values are known.
    [[nodiscard]] std::optional<std::string> settingsLabel() const;
    [[nodiscard]] std::string fixesLabel() const;   // "1 fix", "0 fixes", "3 fixes"
    [[nodiscard]] std::string changesLabel() const; // "1 change", "2 changes"
    [[nodiscard]] std::string sourceLabel() const;  // the source app, or "Write"

    // The folded text that searches run against: original, correction, provider name, model and source
    // label, each folded for comparison in the given locale. Computed once per record, not per keystroke.
    [[nodiscard]] std::string searchText(std::string_view localeId = {}) const;

    bool operator==(const CorrectionRecord&) const = default;
};

// The query as searches use it: trimmed and folded; empty means "no filter".
std::string foldedQuery(std::string_view query, std::string_view localeId = {});

} // namespace vesk
