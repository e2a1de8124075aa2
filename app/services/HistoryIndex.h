#pragma once

// The history as the views use it: the records newest first, each with its folded search text and the
// words of its correction computed once, so a keystroke in the search field never re-reads or re-folds.

#include "core/CorrectionRecord.h"
#include "core/HistoryStats.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vesk::app {

// Records with what searches and figures need, in one order.
struct HistoryRows
{
    std::vector<CorrectionRecord> records;
    std::vector<std::string> searchTexts;
    std::vector<int> wordCounts;
};

class HistoryIndex
{
public:
    // Newest first; the later row first within one millisecond.
    [[nodiscard]] const std::vector<CorrectionRecord>& records() const { return m_rows.records; }
    [[nodiscard]] const std::vector<std::string>& searchTexts() const { return m_rows.searchTexts; }
    [[nodiscard]] const std::vector<int>& wordCounts() const { return m_rows.wordCounts; }
    [[nodiscard]] const CorrectionRecord* find(std::int64_t id) const;

    // Takes rows in any order.
    void assign(HistoryRows rows);
    // Places one record by date.
    void add(CorrectionRecord record, std::string searchText, int words);
    void clear() { m_rows = {}; }

    // Indexes into records() of those whose search text holds the folded query; all for an empty one.
    [[nodiscard]] std::vector<std::size_t> search(std::string_view foldedQuery) const;
    // The overview's figures from the stored word counts. Counts from a damaged file saturate at the
    // largest int rather than overflow.
    [[nodiscard]] HistoryStats stats(TimePoint now, const Calendar& calendar) const;

private:
    HistoryRows m_rows;
};

} // namespace vesk::app
