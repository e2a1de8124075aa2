#include "core/Calendar.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <unicode/calendar.h>
#include <unicode/dtptngen.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/ucal.h>
#include <unicode/unistr.h>
#include <utility>

namespace vesk {

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

[[noreturn]] void fatal(const char* what)
{
    std::fprintf(stderr, "vesk: calendar: %s\n", what);
    std::abort();
}

// ICU counts whole milliseconds in a double; the finer part of a TimePoint is carried beside it so that
// arithmetic keeps it exactly instead of rounding it through a double.
struct IcuTime
{
    UDate millis = 0;
    TimePoint::duration rest{};
};

IcuTime toIcu(TimePoint time)
{
    const auto millis = std::chrono::floor<milliseconds>(time.time_since_epoch());
    return {static_cast<UDate>(millis.count()), time.time_since_epoch() - millis};
}

// Nothing when ICU's answer lies outside what a TimePoint holds (about 1678 to 2261 with nanoseconds).
std::optional<TimePoint> fromIcu(UDate millis, TimePoint::duration rest)
{
    static const auto lowest = std::chrono::ceil<milliseconds>(TimePoint::min().time_since_epoch()).count();
    static const auto highest = std::chrono::floor<milliseconds>(TimePoint::max().time_since_epoch()).count();
    if (!std::isfinite(millis) || millis < static_cast<UDate>(lowest) || millis > static_cast<UDate>(highest)) {
        return std::nullopt;
    }
    const TimePoint whole{
        std::chrono::duration_cast<TimePoint::duration>(milliseconds(static_cast<long long>(millis)))};
    if (rest > TimePoint::max() - whole) {
        return std::nullopt;
    }
    return whole + rest;
}

// Where a wall-clock time occurs twice (the hour repeated when DST ends), take the earlier instant, so
// a day that repeats its midnight starts at the first one.
void configure(icu::Calendar& calendar)
{
    calendar.setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
}

} // namespace

// ICU calendars keep the instant they last computed, so every query mutates them; the mutex lets
// const methods be called from several threads as with any other value.
struct Calendar::Impl
{
    explicit Impl(std::unique_ptr<icu::Calendar> adopted) : calendar(std::move(adopted)) {}

    std::unique_ptr<Impl> clone()
    {
        std::lock_guard lock(mutex);
        std::unique_ptr<icu::Calendar> copy(calendar->clone());
        if (!copy) {
            fatal("out of memory copying a calendar");
        }
        return std::make_unique<Impl>(std::move(copy));
    }

    std::unique_ptr<icu::Calendar> calendar;
    // Date formatters by locale and skeleton, each with its own copy of the calendar.
    std::map<std::string, std::unique_ptr<icu::SimpleDateFormat>> formatters;
    std::mutex mutex;
};

Calendar::Calendar(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

Calendar::Calendar(const Calendar& other) : m_impl(other.m_impl->clone()) {}

Calendar& Calendar::operator=(const Calendar& other)
{
    if (this != &other) {
        m_impl = other.m_impl->clone();
    }
    return *this;
}

Calendar::Calendar(Calendar&& other) noexcept = default;
Calendar& Calendar::operator=(Calendar&& other) noexcept = default;
Calendar::~Calendar() = default;

Calendar Calendar::current()
{
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(status));
    if (U_FAILURE(status) || !calendar) {
        fatal(U_FAILURE(status) ? u_errorName(status) : "no calendar for the user's locale");
    }
    configure(*calendar);
    return Calendar(std::make_unique<Impl>(std::move(calendar)));
}

Expected<Calendar, std::string> Calendar::create(std::string_view timeZoneId, std::string_view localeId)
{
    std::unique_ptr<icu::TimeZone> zone(
        timeZoneId.empty() ? icu::TimeZone::createDefault()
                           : icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(
                                 icu::StringPiece(timeZoneId.data(), static_cast<int32_t>(timeZoneId.size())))));
    // ICU answers an unknown id with a GMT zone named Etc/Unknown rather than an error.
    icu::UnicodeString resolvedId;
    if (!zone || (!timeZoneId.empty() && zone->getID(resolvedId) == UNICODE_STRING_SIMPLE(UCAL_UNKNOWN_ZONE_ID))) {
        return Unexpected{"unknown time zone \"" + std::string(timeZoneId) + "\""};
    }
    const icu::Locale locale =
        localeId.empty() ? icu::Locale::getDefault() : icu::Locale(std::string(localeId).c_str());
    if (locale.isBogus()) {
        return Unexpected{"malformed locale \"" + std::string(localeId) + "\""};
    }
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(zone.release(), locale, status));
    if (U_FAILURE(status) || !calendar) {
        return Unexpected{std::string("cannot create a calendar: ") + u_errorName(status)};
    }
    configure(*calendar);
    return Calendar(std::make_unique<Impl>(std::move(calendar)));
}

std::optional<TimePoint> Calendar::addingDays(TimePoint time, int days) const
{
    const IcuTime start = toIcu(time);
    std::lock_guard lock(m_impl->mutex);
    icu::Calendar& calendar = *m_impl->calendar;
    UErrorCode status = U_ZERO_ERROR;
    calendar.setTime(start.millis, status);
    calendar.add(UCAL_DATE, days, status);
    const UDate result = calendar.getTime(status);
    if (U_FAILURE(status)) {
        return std::nullopt;
    }
    return fromIcu(result, start.rest);
}

std::optional<TimePoint> Calendar::startOfDay(TimePoint time) const
{
    std::lock_guard lock(m_impl->mutex);
    icu::Calendar& calendar = *m_impl->calendar;
    UErrorCode status = U_ZERO_ERROR;
    calendar.setTime(toIcu(time).millis, status);
    calendar.set(UCAL_HOUR_OF_DAY, 0);
    calendar.set(UCAL_MINUTE, 0);
    calendar.set(UCAL_SECOND, 0);
    calendar.set(UCAL_MILLISECOND, 0);
    const UDate result = calendar.getTime(status);
    if (U_FAILURE(status)) {
        return std::nullopt;
    }
    return fromIcu(result, {});
}

bool Calendar::sameMonth(TimePoint a, TimePoint b) const
{
    // The era matters in calendars whose years restart with it (Japanese), and the leap flag in
    // lunisolar ones whose leap month repeats the number of the month before it (Chinese).
    static constexpr UCalendarDateFields fields[] = {UCAL_ERA, UCAL_YEAR, UCAL_MONTH, UCAL_IS_LEAP_MONTH};
    std::lock_guard lock(m_impl->mutex);
    icu::Calendar& calendar = *m_impl->calendar;
    UErrorCode status = U_ZERO_ERROR;
    int32_t values[std::size(fields)] = {};
    calendar.setTime(toIcu(a).millis, status);
    for (std::size_t i = 0; i < std::size(fields); ++i) {
        values[i] = calendar.get(fields[i], status);
    }
    calendar.setTime(toIcu(b).millis, status);
    for (std::size_t i = 0; i < std::size(fields); ++i) {
        if (calendar.get(fields[i], status) != values[i]) {
            return false;
        }
    }
    return U_SUCCESS(status);
}

std::string Calendar::format(TimePoint time, std::string_view skeleton, std::string_view localeId) const
{
    std::lock_guard lock(m_impl->mutex);
    std::string key = std::string(localeId) + '\x1f' + std::string(skeleton);
    auto found = m_impl->formatters.find(key);
    if (found == m_impl->formatters.end()) {
        // Building a pattern generator costs milliseconds; a list of dates reuses the formatter.
        const icu::Locale locale =
            localeId.empty() ? icu::Locale::getDefault() : icu::Locale(std::string(localeId).c_str());
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::DateTimePatternGenerator> generator(
            icu::DateTimePatternGenerator::createInstance(locale, status));
        if (U_FAILURE(status) || !generator) {
            return {};
        }
        const icu::UnicodeString pattern = generator->getBestPattern(
            icu::UnicodeString::fromUTF8(icu::StringPiece(skeleton.data(), static_cast<int32_t>(skeleton.size()))),
            status);
        auto formatter = std::make_unique<icu::SimpleDateFormat>(pattern, locale, status);
        if (U_FAILURE(status)) {
            return {};
        }
        formatter->setCalendar(*m_impl->calendar);
        found = m_impl->formatters.emplace(std::move(key), std::move(formatter)).first;
    }
    icu::UnicodeString text;
    found->second->format(toIcu(time).millis, text);
    std::string utf8;
    text.toUTF8String(utf8);
    return utf8;
}

} // namespace vesk
