#include "core/HistoryFormat.h"

#include "support/CalendarTesting.h"

#include <gtest/gtest.h>

namespace vesk {
namespace {

using namespace std::chrono;
using namespace std::chrono_literals;
using test::at;

CorrectionRecord recordWith(std::string corrected, std::string model = "gpt-4o-mini", double cost = 0)
{
    CorrectionRecord record;
    record.corrected = std::move(corrected);
    record.model = std::move(model);
    record.estimatedCost = cost;
    return record;
}

TEST(HistoryFormat, TitleIsTheTrimmedCorrectionOrUntitled)
{
    EXPECT_EQ(historyformat::title(recordWith("  The cat sat.\n")), "The cat sat.");
    EXPECT_EQ(historyformat::title(recordWith(" \n\t\u3000")), "Untitled correction");
}

// Berlin in winter is UTC+1; the boundaries are local midnights, not UTC ones.
TEST(HistoryFormat, TimeLabelNamesTodayAndYesterdayByLocalDay)
{
    const Calendar berlin = test::pinned("Europe/Berlin");
    const TimePoint now = at(2026y / November / 21, 9h, 60min);
    const std::string space = "\u202F"; // ICU's narrow no-break space before AM/PM
    EXPECT_EQ(historyformat::timeLabel(at(2026y / November / 21, 0h + 5min, 60min), now, berlin, "en_US"),
              "Today at 12:05" + space + "AM");
    EXPECT_EQ(historyformat::timeLabel(at(2026y / November / 20, 23h + 55min, 60min), now, berlin, "en_US"),
              "Yesterday at 11:55" + space + "PM");
    EXPECT_EQ(historyformat::timeLabel(at(2026y / November / 19, 23h + 59min, 60min), now, berlin, "en_US"),
              "Nov 19, 11:59" + space + "PM");
    EXPECT_EQ(historyformat::timeLabel(at(2026y / November / 19, 15h + 4min, 60min), now, berlin, "de_DE"),
              "19. Nov., 15:04");
    EXPECT_EQ(historyformat::timeLabel(at(2026y / November / 21, 15h + 4min, 60min), now, berlin, "de_DE"),
              "Today at 15:04")
        << "entries later today are still today";
}

TEST(HistoryFormat, CostUsesFourDecimalsBelowACentAndAlwaysAPoint)
{
    EXPECT_EQ(historyformat::costLabel(0), "$0.00");
    EXPECT_EQ(historyformat::costLabel(0.0042), "$0.0042");
    EXPECT_EQ(historyformat::costLabel(0.00004), "$0.0000") << "rounds, never switches to exponent form";
    EXPECT_EQ(historyformat::costLabel(0.01), "$0.01");
    EXPECT_EQ(historyformat::costLabel(1234.5), "$1234.50");
}

TEST(HistoryFormat, DetailLineGroupsTokensAsTheLocaleDoes)
{
    CorrectionRecord record = recordWith("x", "claude-haiku-4-5-20251001", 0.0045);
    record.promptTokens = 1200;
    record.completionTokens = 34;
    EXPECT_EQ(historyformat::detailLine(record, "en_US"),
              "claude-haiku-4-5-20251001 \u00B7 1,234 tokens \u00B7 $0.0045");
    EXPECT_EQ(historyformat::tokensLabel(1234567, "de_DE"), "1.234.567 tokens");
    EXPECT_EQ(historyformat::tokensLabel(0, "en_US"), "0 tokens");
}

TEST(HistoryFormat, CountsAndTheFixedClearPlural)
{
    EXPECT_EQ(historyformat::countLabel(1), "1 correction");
    EXPECT_EQ(historyformat::countLabel(0), "0 corrections");
    EXPECT_EQ(historyformat::clearMessage(1), "This permanently removes all 1 saved corrections.");
    CorrectionRecord composer = recordWith("x");
    EXPECT_EQ(historyformat::sourceLine(composer), "From Write");
    composer.sourceApp = "Mousepad";
    EXPECT_EQ(historyformat::sourceLine(composer), "From Mousepad");
}

} // namespace
} // namespace vesk
