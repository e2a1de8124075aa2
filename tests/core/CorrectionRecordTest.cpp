#include "core/CorrectionRecord.h"

#include "core/Pricing.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace vesk {
namespace {

AcceptedCorrection accepted(std::string model, std::optional<TokenUsage> usage)
{
    CorrectionSettings settings;
    settings.strength = CorrectionStrength::clarityFlow;
    return {"teh cat", "the cat", CorrectionRun{ProviderID::anthropic, std::move(model), settings, {}},
            usage,     1,         std::nullopt};
}

TEST(CorrectionRecord, FromAnAcceptedCorrection)
{
    const auto now = std::chrono::system_clock::now();
    const CorrectionRecord priced =
        CorrectionRecord::from(accepted("claude-haiku-4-5-20251001", TokenUsage{2000, 500}), now);
    EXPECT_EQ(priced.date, now);
    EXPECT_EQ(priced.providerRaw, "anthropic");
    EXPECT_GT(priced.estimatedCost, 0.0); // the price itself is the pricing table's business
    EXPECT_EQ(priced.settingsLabel(), "Polish \u00B7 Preserve original");
    EXPECT_EQ(priced.sourceLabel(), "Write");

    const CorrectionRecord unpriced = CorrectionRecord::from(accepted("llama3.1", TokenUsage{40, 9}), now);
    EXPECT_EQ(unpriced.estimatedCost, 0.0);
    EXPECT_EQ(unpriced.promptTokens + unpriced.completionTokens, 49);

    // A provider may report counts up to INT64_MAX: totals and costs stay finite.
    const auto most = std::numeric_limits<std::int64_t>::max();
    const CorrectionRecord huge = CorrectionRecord::from(accepted("claude-opus-4-8", TokenUsage{most, most}), now);
    EXPECT_EQ(huge.totalTokens(), most);
    EXPECT_TRUE(std::isfinite(huge.estimatedCost));
    EXPECT_EQ(Pricing::estimatedCost("claude-opus-4-8", TokenUsage{-5, 0}), 0.0);

    const CorrectionRecord noUsage = CorrectionRecord::from(accepted("claude-haiku-4-5-20251001", std::nullopt), now);
    EXPECT_EQ(noUsage.promptTokens, 0);
    EXPECT_EQ(noUsage.completionTokens, 0);
    EXPECT_EQ(noUsage.estimatedCost, 0.0);
}

TEST(CorrectionRecord, LabelsForUnknownAndMissingValues)
{
    CorrectionRecord r;
    r.providerRaw = "mistral";
    EXPECT_EQ(r.providerName(), "mistral");
    r.strengthRaw = "grammarSpelling";
    EXPECT_EQ(r.settingsLabel(), std::nullopt) << "no tone";
    r.toneRaw = "Formal";
    EXPECT_EQ(r.settingsLabel(), std::nullopt) << "unknown tone";
    EXPECT_EQ(r.fixesLabel(), "0 fixes");
    r.changeCount = 1;
    EXPECT_EQ(r.fixesLabel(), "1 fix");
    EXPECT_EQ(r.changesLabel(), "1 change");
    r.changeCount = 3;
    EXPECT_EQ(r.changesLabel(), "3 changes");
}

TEST(CorrectionRecord, SearchIgnoresCaseAccentsAndSurroundingSpace)
{
    CorrectionRecord r;
    r.providerRaw = "openai";
    r.model = "gpt-4o-mini";
    r.original = "Café au lait";
    r.corrected = "Café au lait.";
    const std::string text = r.searchText("en_US");
    EXPECT_NE(text.find(foldedQuery("  OPENAI ", "en_US")), std::string::npos);
    EXPECT_NE(text.find(foldedQuery("cafe", "en_US")), std::string::npos);
    EXPECT_NE(text.find(foldedQuery("write", "en_US")), std::string::npos) << "composer records match Write";
    EXPECT_EQ(text.find(foldedQuery("lait.openai", "en_US")), std::string::npos) << "never across two fields";
    EXPECT_EQ(foldedQuery(" \n ", "en_US"), "");
}

} // namespace
} // namespace vesk
