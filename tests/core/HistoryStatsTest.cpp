#include "core/HistoryStats.h"

#include "support/CalendarTesting.h"

#include <algorithm>
#include <climits>
#include <gtest/gtest.h>
#include <ostream>

namespace vesk {

void PrintTo(const HistoryStats& stats, std::ostream* out)
{
    *out << "{fixed " << stats.mistakesFixed << ", this week " << stats.mistakesThisWeek << ", words "
         << stats.wordsPolished << ", active days " << stats.activeDaysThisMonth << "}";
}

namespace {

using namespace std::chrono;
using namespace std::chrono_literals;
using test::at;
using test::pinned;
using Entry = HistoryStats::Entry;

const TimePoint someNow = at(2026y / June / 15, 12h, 2h);

TEST(HistoryStats, TotalsCountEveryEntryWhateverItsDate)
{
    const std::vector<Entry> entries{
        {at(2019y / January / 1, 9h, 1h), 4, "An old correction"},
        {someNow - 1h, 2, "Fixed this morning"},
        {someNow - 24h * 400, 1, "Last year"},
    };
    EXPECT_EQ(HistoryStats::compute(entries, someNow, pinned("Europe/Berlin")), (HistoryStats{7, 2, 8, 1}));
}

// A damaged history can hold any counts.
TEST(HistoryStats, SumsStopAtTheLimits)
{
    const std::vector<Entry> up{{someNow, INT_MAX, ""}, {someNow, 1, ""}};
    EXPECT_EQ(HistoryStats::compute(up, someNow, pinned("UTC")), (HistoryStats{INT_MAX, INT_MAX, 0, 1}));
    const std::vector<Entry> down{{someNow, INT_MIN, ""}, {someNow, -1, ""}};
    EXPECT_EQ(HistoryStats::compute(down, someNow, pinned("UTC")), (HistoryStats{INT_MIN, INT_MIN, 0, 1}));
    const std::vector<int> words{INT_MAX, 5};
    EXPECT_EQ(HistoryStats::compute(up, someNow, pinned("UTC"), words).wordsPolished, INT_MAX);
}

// A week is seven calendar days back, however many hours that is across a change of the clocks, up to
// and past now; at the earliest time there is no week start and only now onward counts.
TEST(HistoryStats, MistakesThisWeekCountFromSevenCalendarDaysAgo)
{
    const auto counts = [](const char* zone, TimePoint now, TimePoint entry) {
        return HistoryStats::compute({{entry, 3, ""}}, now, pinned(zone)).mistakesThisWeek == 3;
    };
    const TimePoint springForward = at(2026y / March / 10, 12h, -4h);
    const TimePoint fallBack = at(2026y / November / 3, 12h, -5h);
    const TimePoint earliest = TimePoint::min() + 1h;
    EXPECT_TRUE(counts("America/New_York", springForward, springForward - 167h));
    EXPECT_FALSE(counts("America/New_York", springForward, springForward - 167h - 1s));
    EXPECT_TRUE(counts("America/New_York", fallBack, fallBack - 169h));
    EXPECT_FALSE(counts("America/New_York", fallBack, fallBack - 169h - 1s));
    EXPECT_TRUE(counts("Europe/Berlin", someNow, someNow + 48h));
    EXPECT_FALSE(counts("UTC", earliest, earliest - 1min));
    EXPECT_TRUE(counts("UTC", earliest, earliest));
}

// Distinct local days of the current month. Berlin is at UTC+1 until 29 March 2026 and at UTC+2 after.
// Other calendars' months are the calendar's tests.
TEST(HistoryStats, ActiveDaysThisMonthAreDistinctLocalDaysOfTheCurrentMonth)
{
    const auto activeDays = [](const char* zone, TimePoint now, const std::vector<TimePoint>& dates) {
        std::vector<Entry> entries;
        std::ranges::transform(dates, std::back_inserter(entries), [](TimePoint date) { return Entry{date, 1, ""}; });
        return HistoryStats::compute(entries, now, pinned(zone)).activeDaysThisMonth;
    };
    const auto inBerlinMarch = [&](const std::vector<TimePoint>& dates) {
        return activeDays("Europe/Berlin", at(2026y / March / 20, 12h, 1h), dates);
    };
    EXPECT_EQ(inBerlinMarch({at(2026y / March / 14, 5min, 1h), at(2026y / March / 14, 23h + 55min, 1h)}), 1);
    EXPECT_EQ(inBerlinMarch({at(2026y / February / 28, 23h + 59min, 1h), at(2026y / March / 1, 0h, 1h)}), 1)
        << "the month starts at its first local instant";
    EXPECT_EQ(inBerlinMarch({at(2026y / March / 31, 23h + 59min, 2h), at(2026y / April / 1, 0h, 2h)}), 1)
        << "later this month counts, next month does not";
    EXPECT_EQ(inBerlinMarch({at(2026y / March / 29, 30min, 1h), at(2026y / March / 29, 23h + 30min, 2h),
                             at(2026y / March / 30, 0h, 2h)}),
              2)
        << "the short day of spring forward is one day";
    EXPECT_EQ(activeDays("America/New_York", at(2027y / January / 2, 10h, -5h),
                         {at(2026y / December / 31, 23h + 59min, -5h), at(2027y / January / 1, 0h, -5h),
                          at(2026y / January / 1, 12h, -5h)}),
              1)
        << "January of the new year only";
}

} // namespace
} // namespace vesk
