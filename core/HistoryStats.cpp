#include "core/HistoryStats.h"

#include "core/Saturating.h"
#include "core/UnicodeText.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace vesk {

namespace {

// The days of one calendar month as consecutive intervals: day i runs from starts[i] up to the next
// start, the last one up to `end`. A local day is an unbroken run of instants, so finding the interval
// that holds an entry gives the same day as asking the calendar for its start of day, while costing a
// few ICU calls per day of the month instead of per entry.
class MonthDays
{
public:
    MonthDays(TimePoint now, const Calendar& calendar)
    {
        const auto today = calendar.startOfDay(now);
        if (!today) {
            return;
        }
        // A month has at most a few more than 30 days in any calendar; the cap only guards against a
        // calendar that never leaves the month.
        constexpr int maxDays = 64;
        m_starts.reserve(maxDays);
        m_starts.push_back(*today);
        while (static_cast<int>(m_starts.size()) < maxDays && calendar.sameMonth(m_starts.back() - tick, now)) {
            const auto previous = calendar.startOfDay(m_starts.back() - tick);
            if (!previous) {
                break;
            }
            m_starts.push_back(*previous);
        }
        std::reverse(m_starts.begin(), m_starts.end());
        m_end = *today;
        while (static_cast<int>(m_starts.size()) < maxDays) {
            const auto next = nextDayStart(m_starts.back(), calendar);
            if (!next || *next <= m_starts.back()) {
                m_starts.clear();
                return;
            }
            if (!calendar.sameMonth(*next, now)) {
                m_end = *next;
                return;
            }
            m_starts.push_back(*next);
        }
        m_starts.clear();
    }

    [[nodiscard]] std::size_t count() const { return m_starts.size(); }

    // The index of the day holding `time`, or count() when it lies outside the month.
    [[nodiscard]] std::size_t dayOf(TimePoint time) const
    {
        if (m_starts.empty() || time < m_starts.front() || time >= m_end) {
            return count();
        }
        return static_cast<std::size_t>(std::upper_bound(m_starts.begin(), m_starts.end(), time) - m_starts.begin()) -
               1;
    }

private:
    static constexpr TimePoint::duration tick{1};

    // Through the same wall-clock time tomorrow rather than +24 hours, which lands in the wrong day
    // when today is 25 hours long.
    static std::optional<TimePoint> nextDayStart(TimePoint dayStart, const Calendar& calendar)
    {
        const auto tomorrow = calendar.addingDays(dayStart, 1);
        return tomorrow ? calendar.startOfDay(*tomorrow) : std::nullopt;
    }

    std::vector<TimePoint> m_starts;
    TimePoint m_end;
};

} // namespace

HistoryStats HistoryStats::compute(const std::vector<Entry>& entries, TimePoint now, const Calendar& calendar,
                                   std::span<const int> knownWordCounts)
{
    const bool wordsKnown = !knownWordCounts.empty();
    if (wordsKnown && knownWordCounts.size() != entries.size()) {
        std::fprintf(stderr, "vesk: history statistics: %zu word counts for %zu entries\n", knownWordCounts.size(),
                     entries.size());
        std::abort();
    }
    HistoryStats stats;
    const TimePoint weekStart = calendar.addingDays(now, -7).value_or(now);
    const MonthDays month(now, calendar);
    std::vector<bool> active(month.count(), false);

    for (std::size_t i = 0; i < entries.size(); ++i) {
        const Entry& entry = entries[i];
        stats.mistakesFixed = saturatingAdd(stats.mistakesFixed, entry.changeCount);
        if (entry.date >= weekStart) {
            stats.mistakesThisWeek = saturatingAdd(stats.mistakesThisWeek, entry.changeCount);
        }
        stats.wordsPolished =
            saturatingAdd(stats.wordsPolished, wordsKnown ? knownWordCounts[i] : unicode::countWords(entry.corrected));
        if (const std::size_t day = month.dayOf(entry.date); day < active.size()) {
            active[day] = true;
        }
    }
    stats.activeDaysThisMonth = static_cast<int>(std::count(active.begin(), active.end(), true));
    return stats;
}

} // namespace vesk
