#include "core/Pricing.h"

#include <gtest/gtest.h>

namespace vesk {
namespace {

// The input and the output rate of the exact model; a priced history record is the history's test. Unknown
// models, missing usage and negative counts cost nothing.
TEST(Pricing, CostFollowsTheRatesOfTheExactModelOnly)
{
    EXPECT_DOUBLE_EQ(Pricing::estimatedCost("gpt-4o-mini", TokenUsage{1'000'000, 1'000'000}), 0.75);
    EXPECT_EQ(Pricing::estimatedCost("GPT-4o", TokenUsage{1000, 1000}), 0.0);
    EXPECT_EQ(Pricing::estimatedCost("gpt-4o-2024-08-06", TokenUsage{1000, 1000}), 0.0);
    EXPECT_EQ(Pricing::estimatedCost("llama3", TokenUsage{1000, 1000}), 0.0);
    EXPECT_EQ(Pricing::estimatedCost("gpt-4o", std::nullopt), 0.0);
    EXPECT_FALSE(Pricing::rate("gpt-4o ").has_value());
    EXPECT_EQ(Pricing::estimatedCost("claude-opus-4-8", TokenUsage{-5, 0}), 0.0);
}

} // namespace
} // namespace vesk
