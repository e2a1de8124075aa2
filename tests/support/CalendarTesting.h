#pragma once

#include "core/Calendar.h"

#include <chrono>
#include <gtest/gtest.h>
#include <string_view>

namespace vesk::test {

// A wall-clock time written with the zone's UTC offset at that moment, so each row says both.
inline TimePoint at(std::chrono::year_month_day day, std::chrono::minutes timeOfDay, std::chrono::minutes utcOffset)
{
    return std::chrono::sys_days(day) + timeOfDay - utcOffset;
}

// A calendar with a fixed time zone and locale, whatever the machine's settings.
inline Calendar pinned(std::string_view zone, std::string_view locale = "en_US")
{
    auto calendar = Calendar::create(zone, locale);
    EXPECT_TRUE(calendar.hasValue()) << calendar.error();
    return std::move(calendar).value();
}

} // namespace vesk::test
