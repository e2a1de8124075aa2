#include "app/services/HistoryIndex.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace vesk::app {

namespace {

bool isNewer(const CorrectionRecord& a, const CorrectionRecord& b)
{
    return a.date != b.date ? a.date > b.date : a.id > b.id;
}

template <typename T> void reorder(std::vector<T>& items, const std::vector<std::size_t>& order)
{
    std::vector<T> reordered;
    reordered.reserve(items.size());
    for (const std::size_t index : order) {
        reordered.push_back(std::move(items[index]));
    }
    items = std::move(reordered);
}

} // namespace

void HistoryIndex::assign(HistoryRows rows)
{
    m_rows = std::move(rows);
    auto& records = m_rows.records;
    if (std::is_sorted(records.begin(), records.end(), isNewer)) {
        return;
    }
    // Rows come newest first by id, which is date order unless the clock was turned back meanwhile.
    std::vector<std::size_t> order(records.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&records](std::size_t a, std::size_t b) { return isNewer(records[a], records[b]); });
    reorder(records, order);
    reorder(m_rows.searchTexts, order);
    reorder(m_rows.wordCounts, order);
}

void HistoryIndex::add(CorrectionRecord record, std::string searchText, int words)
{
    auto& records = m_rows.records;
    const auto at = std::lower_bound(records.begin(), records.end(), record, isNewer);
    const auto index = at - records.begin();
    records.insert(at, std::move(record));
    m_rows.searchTexts.insert(m_rows.searchTexts.begin() + index, std::move(searchText));
    m_rows.wordCounts.insert(m_rows.wordCounts.begin() + index, words);
}

std::vector<std::size_t> HistoryIndex::search(std::string_view foldedQuery) const
{
    std::vector<std::size_t> matches;
    for (std::size_t i = 0; i < m_rows.records.size(); ++i) {
        if (foldedQuery.empty() || m_rows.searchTexts[i].find(foldedQuery) != std::string::npos) {
            matches.push_back(i);
        }
    }
    return matches;
}

const CorrectionRecord* HistoryIndex::find(std::int64_t id) const
{
    const auto& records = m_rows.records;
    const auto found =
        std::find_if(records.begin(), records.end(), [id](const CorrectionRecord& r) { return r.id == id; });
    return found == records.end() ? nullptr : &*found;
}

HistoryStats HistoryIndex::stats(TimePoint now, const Calendar& calendar) const
{
    // Each record adds no more than what is left below the largest int, so the sums stop there. Newest
    // first, the week's figure is the sum of the first records and saturates the same way.
    constexpr std::int64_t most = std::numeric_limits<int>::max();
    std::int64_t changes = 0;
    std::int64_t words = 0;
    std::vector<HistoryStats::Entry> entries;
    std::vector<int> wordCounts;
    entries.reserve(m_rows.records.size());
    wordCounts.reserve(m_rows.records.size());
    for (std::size_t i = 0; i < m_rows.records.size(); ++i) {
        const auto changeCount = std::clamp<std::int64_t>(m_rows.records[i].changeCount, 0, most - changes);
        const auto wordCount = std::clamp<std::int64_t>(m_rows.wordCounts[i], 0, most - words);
        changes += changeCount;
        words += wordCount;
        entries.push_back({m_rows.records[i].date, static_cast<int>(changeCount), {}});
        wordCounts.push_back(static_cast<int>(wordCount));
    }
    return HistoryStats::compute(entries, now, calendar, wordCounts);
}

} // namespace vesk::app
