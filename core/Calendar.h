#pragma once

// Calendar arithmetic in one time zone and one calendar system, backed by ICU. Day and month boundaries
// are the user's local ones, so a "day" may last 23 or 25 hours and a "month" follows the user's
// calendar system (Gregorian, Buddhist, Hebrew, Japanese eras...).

#include "core/Expected.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace vesk {

using TimePoint = std::chrono::system_clock::time_point;

class Calendar
{
public:
    // The system's time zone and the calendar system of the user's locale. ICU failing to build even
    // this is fatal: it only happens when ICU's data is missing or memory is exhausted.
    static Calendar current();

    // A calendar pinned to an IANA time zone id ("Europe/Berlin"; empty means the system's zone) and a
    // locale id that picks the calendar system ("th_TH" or "en@calendar=hebrew"; empty means the
    // user's locale). Fails for an unknown time zone or a malformed locale id.
    static Expected<Calendar, std::string> create(std::string_view timeZoneId, std::string_view localeId = {});

    Calendar(const Calendar& other);
    Calendar& operator=(const Calendar& other);
    // A moved-from calendar may only be assigned to or destroyed.
    Calendar(Calendar&& other) noexcept;
    Calendar& operator=(Calendar&& other) noexcept;
    ~Calendar();

    // The same wall-clock time `days` calendar days away, so across a DST change the distance is 23
    // or 25 hours rather than 24. Nothing when the result cannot be formed or represented.
    [[nodiscard]] std::optional<TimePoint> addingDays(TimePoint time, int days) const;

    // The first instant of the local day holding `time` (usually midnight; later when a DST change
    // skips midnight). Nothing only when that instant lies outside the range a TimePoint can hold.
    [[nodiscard]] std::optional<TimePoint> startOfDay(TimePoint time) const;

    // True when both instants fall in the same month of the same year and era of this calendar.
    [[nodiscard]] bool sameMonth(TimePoint a, TimePoint b) const;

    // The instant written in this calendar's zone and calendar system, with the fields of an ICU skeleton
    // ("jmm": hour and minute, with AM/PM where the locale uses it; "MMMdjmm": abbreviated month, day and
    // time) in the order and punctuation the locale prefers. An empty locale id means the user's locale.
    [[nodiscard]] std::string format(TimePoint time, std::string_view skeleton, std::string_view localeId = {}) const;

private:
    struct Impl;
    explicit Calendar(std::unique_ptr<Impl> impl);

    std::unique_ptr<Impl> m_impl;
};

} // namespace vesk
