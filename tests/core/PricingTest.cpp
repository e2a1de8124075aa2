#include "core/Pricing.h"

#include <gtest/gtest.h>

namespace vesk {
namespace {

TEST(Pricing, CostFollowsTheRateOfTheExactModel)
{
    EXPECT_DOUBLE_EQ(Pricing::estimatedCost("gpt-4o-mini", TokenUsage{1'000'000, 1'000'000}), 0.75);
    EXPECT_DOUBLE_EQ(Pricing::estimatedCost("claude-haiku-4-5-20251001", TokenUsage{2'000, 500}), 0.0045);
    EXPECT_DOUBLE_EQ(Pricing::estimatedCost("claude-opus-4-8", TokenUsage{1'000'000, 0}), 15.0);
    EXPECT_DOUBLE_EQ(Pricing::estimatedCost("gpt-4.1", TokenUsage{0, 1'000'000}), 8.0);
}

TEST(Pricing, UnknownModelsAndMissingUsageCostNothing)
{
    EXPECT_EQ(Pricing::estimatedCost("GPT-4o", TokenUsage{1000, 1000}), 0.0);
    EXPECT_EQ(Pricing::estimatedCost("gpt-4o-2024-08-06", TokenUsage{1000, 1000}), 0.0);
    EXPECT_EQ(Pricing::estimatedCost("llama3", TokenUsage{1000, 1000}), 0.0);
    EXPECT_EQ(Pricing::estimatedCost("gpt-4o", std::nullopt), 0.0);
    EXPECT_FALSE(Pricing::rate("gpt-4o ").has_value());
}

} // namespace
} // namespace vesk
