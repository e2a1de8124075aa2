#pragma once

// Prices of the known models and the estimated cost of one correction.

#include "core/TokenUsage.h"

#include <optional>
#include <string_view>

namespace vesk::Pricing {

// US dollars per one million tokens.
struct Rate
{
    double input = 0;
    double output = 0;
};

// The rate of exactly this model identifier (case-sensitive), or nothing: there is no default rate.
std::optional<Rate> rate(std::string_view model);

// Dollars for one call, unrounded; 0 without usage or for an unpriced model.
double estimatedCost(std::string_view model, const std::optional<TokenUsage>& usage);

} // namespace vesk::Pricing
