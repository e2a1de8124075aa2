#include "core/Pricing.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vesk::Pricing {

namespace {

// Fixed data of this release; keeping it current is a release task.
constexpr std::array<std::pair<std::string_view, Rate>, 7> priceTable{{
    {"gpt-4o-mini", {0.15, 0.60}},
    {"gpt-4o", {2.50, 10.00}},
    {"gpt-4.1-mini", {0.40, 1.60}},
    {"gpt-4.1", {2.00, 8.00}},
    {"claude-haiku-4-5-20251001", {1.00, 5.00}},
    {"claude-sonnet-4-6", {3.00, 15.00}},
    {"claude-opus-4-8", {15.00, 75.00}},
}};

} // namespace

std::optional<Rate> rate(std::string_view model)
{
    for (const auto& [name, price] : priceTable) {
        if (name == model) {
            return price;
        }
    }
    return std::nullopt;
}

double estimatedCost(std::string_view model, const std::optional<TokenUsage>& usage)
{
    const auto price = rate(model);
    if (!usage || !price) {
        return 0;
    }
    // A negative count is no usage; any count up to INT64_MAX gives a finite cost.
    const auto millions = [](std::int64_t tokens) {
        return static_cast<double>(std::max<std::int64_t>(tokens, 0)) / 1e6;
    };
    return millions(usage->promptTokens) * price->input + millions(usage->completionTokens) * price->output;
}

} // namespace vesk::Pricing
