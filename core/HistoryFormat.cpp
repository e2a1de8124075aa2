#include "core/HistoryFormat.h"

#include "core/UnicodeText.h"

#include <array>
#include <charconv>
#include <unicode/locid.h>
#include <unicode/numberformatter.h>

namespace vesk::historyformat {

std::string title(const CorrectionRecord& record)
{
    const std::string_view text = unicode::trimmed(record.corrected);
    return text.empty() ? std::string("Untitled correction") : std::string(text);
}

std::string timeLabel(TimePoint date, TimePoint now, const Calendar& calendar, std::string_view localeId)
{
    const auto day = calendar.startOfDay(date);
    if (day && day == calendar.startOfDay(now)) {
        return "Today at " + calendar.format(date, "jmm", localeId);
    }
    const auto yesterday = calendar.addingDays(now, -1);
    if (day && yesterday && day == calendar.startOfDay(*yesterday)) {
        return "Yesterday at " + calendar.format(date, "jmm", localeId);
    }
    return calendar.format(date, "MMMdjmm", localeId);
}

std::string costLabel(double dollars)
{
    if (dollars == 0) {
        return "$0.00";
    }
    // to_chars never looks at the C locale, so a German desktop still gets a point.
    std::array<char, 64> buffer{};
    const auto [end, error] = std::to_chars(buffer.data(), buffer.data() + buffer.size(), dollars,
                                            std::chars_format::fixed, dollars < 0.01 ? 4 : 2);
    if (error != std::errc()) {
        return "$0.00";
    }
    return "$" + std::string(buffer.data(), end);
}

std::string tokensLabel(std::int64_t tokens, std::string_view localeId)
{
    const icu::Locale locale =
        localeId.empty() ? icu::Locale::getDefault() : icu::Locale(std::string(localeId).c_str());
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString digits =
        icu::number::NumberFormatter::withLocale(locale).formatInt(tokens, status).toString(status);
    std::string text;
    if (U_FAILURE(status)) {
        text = std::to_string(tokens);
    } else {
        digits.toUTF8String(text);
    }
    return text + " tokens";
}

std::string detailLine(const CorrectionRecord& record, std::string_view localeId)
{
    return record.model + " \u00B7 " + tokensLabel(record.totalTokens(), localeId) + " \u00B7 " +
           costLabel(record.estimatedCost);
}

std::string sourceLine(const CorrectionRecord& record)
{
    return "From " + record.sourceLabel();
}

std::string countLabel(std::size_t count)
{
    return count == 1 ? std::string("1 correction") : std::to_string(count) + " corrections";
}

std::string clearMessage(std::size_t count)
{
    return "This permanently removes all " + std::to_string(count) + " saved corrections.";
}

} // namespace vesk::historyformat
