#pragma once

// The four figures of the overview, computed from the correction history.

#include "core/Calendar.h"

#include <span>
#include <string>
#include <vector>

namespace vesk {

struct HistoryStats
{
    // One recorded correction; the app builds these from its history records so the core does not
    // depend on how they are stored.
    struct Entry
    {
        TimePoint date;
        int changeCount = 0;
        std::string corrected;
    };

    int mistakesFixed = 0;
    // Over the rolling seven calendar days up to `now`, not the calendar week; later entries count too.
    int mistakesThisWeek = 0;
    // Words of the corrected texts, split at white space only.
    int wordsPolished = 0;
    // Distinct local days of `now`'s calendar month with at least one entry.
    int activeDaysThisMonth = 0;

    // Entries may come in any order. A sum beyond an int's range (a damaged history) is held at its limit.
    // `knownWordCounts`, when not empty, holds the words of each entry's correction, in the entries' order, so that a
    // history that keeps them need not count again (the entries' texts are not read then).
    static HistoryStats compute(const std::vector<Entry>& entries, TimePoint now, const Calendar& calendar,
                                std::span<const int> knownWordCounts = {});

    bool operator==(const HistoryStats&) const = default;
};

} // namespace vesk
