#pragma once

// How the home window writes a history record: its title, when it was made, its tokens and cost.

#include "core/Calendar.h"
#include "core/CorrectionRecord.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vesk::historyformat {

// The correction trimmed of white space and line breaks, or "Untitled correction" when nothing is left.
std::string title(const CorrectionRecord& record);

// "Today at 3:04 PM", "Yesterday at 9:15 AM", otherwise "Nov 3, 3:04 PM": days are the calendar's local
// days, and the time follows the locale (an empty id means the user's).
std::string timeLabel(TimePoint date, TimePoint now, const Calendar& calendar, std::string_view localeId = {});

// "$0.00" for nothing, four decimals below a cent ("$0.0042"), two otherwise ("$0.25"); always a point as
// the decimal mark, whatever the user's locale.
std::string costLabel(double dollars);

// "1,234 tokens", grouped as the locale groups digits.
std::string tokensLabel(std::int64_t tokens, std::string_view localeId = {});

// The detail pane's line: model · tokens · cost.
std::string detailLine(const CorrectionRecord& record, std::string_view localeId = {});

// "From Mousepad", or "From Write" for the composer.
std::string sourceLine(const CorrectionRecord& record);

// "1 correction", "0 corrections", "12 corrections".
std::string countLabel(std::size_t count);

// The clear confirmation's message; the plural stays fixed on purpose ("all 1 saved corrections").
std::string clearMessage(std::size_t count);

} // namespace vesk::historyformat
