#pragma once

// Sums of counts that come from outside (a provider's token counts, a damaged history) stop at the type's
// limit instead of overflowing.

#include <concepts>
#include <limits>

namespace vesk {

// `total + amount`, held at the nearest limit of `Total` when it falls outside.
template <std::integral Total, std::integral Amount> constexpr Total saturatingAdd(Total total, Amount amount)
{
    Total sum{};
    if (!__builtin_add_overflow(total, amount, &sum)) {
        return sum;
    }
    // An overflow in either direction: the sign of the amount says which way (for an unsigned amount it is up).
    return amount > 0 ? std::numeric_limits<Total>::max() : std::numeric_limits<Total>::min();
}

} // namespace vesk
