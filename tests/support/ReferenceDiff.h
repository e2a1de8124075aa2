#pragma once

// The token comparison in its plainest form, with the whole suffix table in memory: the yardstick that
// the production comparison must match segment for segment, and that the benchmark measures it against.

#include "core/CorrectionDiff.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace vesk::reference {

inline std::vector<CorrectionDiff::Segment> segments(std::span<const std::string> from, std::span<const std::string> to)
{
    using Kind = CorrectionDiff::Segment::Kind;
    const std::size_t n = from.size();
    const std::size_t m = to.size();
    // L[i][j] is the length of the longest common subsequence of from[i:] and to[j:].
    std::vector<int> table((n + 1) * (m + 1), 0);
    const auto L = [&](std::size_t i, std::size_t j) -> int& { return table[i * (m + 1) + j]; };
    for (std::size_t i = n; i-- > 0;) {
        for (std::size_t j = m; j-- > 0;) {
            L(i, j) = from[i] == to[j] ? L(i + 1, j + 1) + 1 : std::max(L(i + 1, j), L(i, j + 1));
        }
    }

    std::vector<CorrectionDiff::Segment> result;
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < n || j < m) {
        if (i < n && j < m && from[i] == to[j]) {
            result.push_back({from[i], Kind::equal});
            ++i;
            ++j;
        } else if (j < m && (i == n || L(i + 1, j) < L(i, j + 1))) {
            result.push_back({to[j++], Kind::insert});
        } else {
            result.push_back({from[i++], Kind::deletion});
        }
    }
    return result;
}

} // namespace vesk::reference
