#include "core/Calendar.h"

#include "support/CalendarTesting.h"

#include <climits>

namespace vesk {
namespace {

using namespace std::chrono;
using namespace std::chrono_literals;
using test::at;
using test::pinned;

TEST(Calendar, AddingDaysKeepsTheWallClockTimeOrGivesNothingOutOfRange)
{
    // Across a change of the clocks, the week's statistics pin it to the second.
    const Calendar utc = pinned("UTC");
    EXPECT_EQ(utc.addingDays(at(2028y / March / 3, 8h, 0h), -7), at(2028y / February / 25, 8h, 0h)) << "leap day";
    const TimePoint now = at(2026y / January / 15, 0h, 0h) + 123'456'789ns;
    EXPECT_EQ(utc.addingDays(now, -7), now - days(7)) << "fractions of a millisecond are kept";
    EXPECT_EQ(utc.addingDays(now, 1'000'000), std::nullopt);
    EXPECT_EQ(utc.addingDays(now, INT_MIN), std::nullopt);
    EXPECT_EQ(utc.addingDays(TimePoint::min() + 1h, -7), std::nullopt);
}

// The first instant of the local day: local midnight, before a change of the clocks that day, or the
// change itself on a day that has no midnight (Chile moves its clocks forward at midnight).
TEST(Calendar, StartOfDayIsTheFirstInstantOfTheLocalDay)
{
    const auto start = [](const char* zone, TimePoint time) { return pinned(zone).startOfDay(time); };
    EXPECT_EQ(start("America/New_York", at(2026y / June / 1, 23h + 55min, -4h)), at(2026y / June / 1, 0h, -4h));
    EXPECT_EQ(start("UTC", at(2026y / June / 1, 0h, 0h)), at(2026y / June / 1, 0h, 0h));
    EXPECT_EQ(start("America/New_York", at(2026y / March / 8, 23h + 55min, -4h)), at(2026y / March / 8, 0h, -5h));
    EXPECT_EQ(start("Europe/Berlin", at(2026y / October / 25, 23h, 1h)), at(2026y / October / 25, 0h, 2h));
    EXPECT_EQ(start("America/Santiago", at(2026y / September / 6, 12h, -3h)), at(2026y / September / 6, 1h, -3h));
}

// Months are compared in the locale's calendar, with year and era. Tokyo (UTC+9) has no DST.
TEST(Calendar, SameMonthComparesTheLocalMonthYearAndEra)
{
    const auto same = [](const char* locale, TimePoint a, TimePoint b) {
        return pinned("Asia/Tokyo", locale).sameMonth(a, b);
    };
    EXPECT_TRUE(same("en_US", at(2026y / March / 1, 0h, 9h), at(2026y / March / 31, 23h + 59min, 9h)));
    EXPECT_FALSE(same("en_US", at(2026y / March / 15, 12h, 9h), at(2026y / April / 1, 1h, 9h))) << "not the UTC month";
    // The Hebrew month Tishrei begins on 12 September 2026; Heisei began on 8 January 1989.
    EXPECT_FALSE(
        same("en_US@calendar=hebrew", at(2026y / September / 11, 12h, 9h), at(2026y / September / 12, 12h, 9h)));
    EXPECT_FALSE(same("ja_JP@calendar=japanese", at(1989y / January / 7, 12h, 9h), at(1989y / January / 8, 12h, 9h)));
}

TEST(Calendar, CopiesOutliveTheOriginalAndAnUnknownZoneIsRefused)
{
    const auto mars = Calendar::create("Mars/Olympus_Mons");
    EXPECT_EQ(mars.hasValue() ? "" : mars.error(), "unknown time zone \"Mars/Olympus_Mons\"");
    auto original = std::make_unique<Calendar>(pinned("America/New_York"));
    Calendar assigned = pinned("UTC");
    const Calendar copied(*original);
    assigned = *original;
    original.reset();

    const TimePoint evening = at(2026y / June / 1, 22h, -4h);
    EXPECT_EQ(copied.startOfDay(evening), at(2026y / June / 1, 0h, -4h));
    EXPECT_EQ(assigned.startOfDay(evening), at(2026y / June / 1, 0h, -4h));
}

} // namespace
} // namespace vesk
