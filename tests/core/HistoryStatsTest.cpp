#include "core/HistoryStats.h"

#include "support/CalendarTesting.h"
#include "support/ParamName.h"

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
using test::operator<<;
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

struct WeekRow
{
    std::string name;
    std::string zone;
    TimePoint now;
    TimePoint entry;
    bool counts;
};

class MistakesThisWeek : public testing::TestWithParam<WeekRow>
{
};

TEST_P(MistakesThisWeek, CountsEntriesFromSevenCalendarDaysAgo)
{
    const WeekRow& row = GetParam();
    const HistoryStats stats = HistoryStats::compute({{row.entry, 3, ""}}, row.now, pinned(row.zone));
    EXPECT_EQ(stats.mistakesThisWeek, row.counts ? 3 : 0);
}

const TimePoint afterNewYorkSpringForward = at(2026y / March / 10, 12h, -4h);
const TimePoint afterNewYorkFallBack = at(2026y / November / 3, 12h, -5h);
const TimePoint earliestNow = TimePoint::min() + 1h;

INSTANTIATE_TEST_SUITE_P(
    HistoryStats, MistakesThisWeek,
    testing::Values(WeekRow("SpringForwardWeekIs167Hours", "America/New_York", afterNewYorkSpringForward,
                            afterNewYorkSpringForward - 167h, true),
                    WeekRow("SpringForwardWeekEndsAfter167Hours", "America/New_York", afterNewYorkSpringForward,
                            afterNewYorkSpringForward - 167h - 1s, false),
                    WeekRow("FallBackWeekIs169Hours", "America/New_York", afterNewYorkFallBack,
                            afterNewYorkFallBack - 169h, true),
                    WeekRow("FallBackWeekEndsAfter169Hours", "America/New_York", afterNewYorkFallBack,
                            afterNewYorkFallBack - 169h - 1s, false),
                    WeekRow("EntriesAfterNowCount", "Europe/Berlin", someNow, someNow + 48h, true),
                    WeekRow("WithoutAWeekStartOnlyNowOnwardCounts", "UTC", earliestNow, earliestNow - 1min, false),
                    WeekRow("WithoutAWeekStartNowItselfCounts", "UTC", earliestNow, earliestNow, true)),
    test::ParamName{});

struct DaysRow
{
    std::string name;
    std::string zone;
    TimePoint now;
    std::vector<TimePoint> entries;
    int activeDays;
};

class ActiveDaysThisMonth : public testing::TestWithParam<DaysRow>
{
};

TEST_P(ActiveDaysThisMonth, CountsDistinctLocalDaysOfTheCurrentMonth)
{
    const DaysRow& row = GetParam();
    std::vector<Entry> entries;
    for (const TimePoint date : row.entries) {
        entries.push_back({date, 1, ""});
    }
    const HistoryStats stats = HistoryStats::compute(entries, row.now, pinned(row.zone));
    EXPECT_EQ(stats.activeDaysThisMonth, row.activeDays);
}

// Berlin is at UTC+1 until 29 March 2026 and at UTC+2 after. Other calendars' months are the calendar's tests.
const TimePoint berlinMarch = at(2026y / March / 20, 12h, 1h);

INSTANTIATE_TEST_SUITE_P(
    HistoryStats, ActiveDaysThisMonth,
    testing::Values(DaysRow("FiveAfterMidnightAndFiveToMidnightAreOneDay", "Europe/Berlin", berlinMarch,
                            {at(2026y / March / 14, 5min, 1h), at(2026y / March / 14, 23h + 55min, 1h)}, 1),
                    DaysRow("MonthStartsAtItsFirstLocalInstant", "Europe/Berlin", berlinMarch,
                            {at(2026y / February / 28, 23h + 59min, 1h), at(2026y / March / 1, 0h, 1h)}, 1),
                    DaysRow("LaterThisMonthCountsButNextMonthDoesNot", "Europe/Berlin", berlinMarch,
                            {at(2026y / March / 31, 23h + 59min, 2h), at(2026y / April / 1, 0h, 2h)}, 1),
                    DaysRow("TheShortDayOfSpringForwardIsOneDay", "Europe/Berlin", berlinMarch,
                            {at(2026y / March / 29, 30min, 1h), at(2026y / March / 29, 23h + 30min, 2h),
                             at(2026y / March / 30, 0h, 2h)},
                            2),
                    DaysRow("JanuaryOfTheNewYearOnly", "America/New_York", at(2027y / January / 2, 10h, -5h),
                            {at(2026y / December / 31, 23h + 59min, -5h), at(2027y / January / 1, 0h, -5h),
                             at(2026y / January / 1, 12h, -5h)},
                            1)),
    test::ParamName{});

} // namespace
} // namespace vesk
