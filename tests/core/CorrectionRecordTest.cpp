// A history record: made from an accepted correction, searched, and written out for the home window.

#include "core/CorrectionRecord.h"

#include "core/HistoryFormat.h"
#include "support/CalendarTesting.h"

#include <cmath>
#include <gtest/gtest.h>

namespace vesk {
namespace {

using namespace std::chrono;
using namespace std::chrono_literals;
using test::at;

CorrectionRecord from(std::string model, std::optional<TokenUsage> usage)
{
    CorrectionSettings settings;
    settings.strength = CorrectionStrength::clarityFlow;
    const CorrectionRun run{ProviderID::anthropic, std::move(model), settings, {}};
    return CorrectionRecord::from({"teh cat", "the cat", run, usage, 1, std::nullopt}, system_clock::time_point{});
}

TEST(CorrectionRecord, FromAnAcceptedCorrection)
{
    const CorrectionRecord priced = from("claude-haiku-4-5-20251001", TokenUsage{2000, 500});
    EXPECT_EQ(priced.settingsLabel(), "Polish \u00B7 Preserve original");
    EXPECT_EQ(historyformat::detailLine(priced, "en_US"),
              "claude-haiku-4-5-20251001 \u00B7 2,500 tokens \u00B7 $0.0045");

    EXPECT_EQ(from("claude-haiku-4-5-20251001", std::nullopt).totalTokens(), 0);

    // A provider may report counts up to INT64_MAX: totals and costs stay finite.
    const auto most = std::numeric_limits<std::int64_t>::max();
    const CorrectionRecord huge = from("claude-opus-4-8", TokenUsage{most, most});
    EXPECT_EQ(huge.totalTokens(), most);
    EXPECT_TRUE(std::isfinite(huge.estimatedCost));
}

TEST(CorrectionRecord, LabelsForUnknownAndMissingValues)
{
    CorrectionRecord r;
    r.providerRaw = "mistral";
    EXPECT_EQ(r.providerName(), "mistral");
    r.strengthRaw = "grammarSpelling";
    EXPECT_EQ(r.settingsLabel(), std::nullopt) << "no tone";
    r.toneRaw = "Formal";
    EXPECT_EQ(r.settingsLabel(), std::nullopt) << "unknown tone";
    r.changeCount = 1;
    EXPECT_EQ(r.fixesLabel() + ", " + r.changesLabel(), "1 fix, 1 change");
    r.changeCount = 3;
    EXPECT_EQ(r.changesLabel(), "3 changes");
    r.corrected = " \n\tThe cat sat.\u3000";
    r.sourceApp = "Mousepad";
    EXPECT_EQ(historyformat::title(r), "The cat sat.");
    EXPECT_EQ(historyformat::sourceLine(r), "From Mousepad");
}

// Case, accents and the query's surrounding space are the history store's search tests.
TEST(CorrectionRecord, SearchNeverMatchesAcrossTwoFields)
{
    CorrectionRecord r;
    r.providerRaw = "openai";
    r.corrected = "Café au lait.";
    EXPECT_NE(r.searchText("en_US").find(foldedQuery("cafe au lait.", "en_US")), std::string::npos);
    EXPECT_EQ(r.searchText("en_US").find(foldedQuery("lait.openai", "en_US")), std::string::npos);
    EXPECT_EQ(foldedQuery(" \n ", "en_US"), "");
}

// Berlin in winter is UTC+1; the boundaries are local midnights, not UTC ones.
TEST(HistoryFormat, TimeLabelNamesTodayAndYesterdayByLocalDay)
{
    const auto label = [berlin = test::pinned("Europe/Berlin")](year_month_day day, minutes time, const char* locale) {
        return historyformat::timeLabel(at(day, time, 60min), at(2026y / November / 21, 9h, 60min), berlin, locale);
    };
    const std::string space = "\u202F"; // ICU's narrow no-break space before AM/PM
    EXPECT_EQ(label(2026y / November / 21, 5min, "en_US"), "Today at 12:05" + space + "AM");
    EXPECT_EQ(label(2026y / November / 20, 23h + 55min, "en_US"), "Yesterday at 11:55" + space + "PM");
    EXPECT_EQ(label(2026y / November / 19, 23h + 59min, "en_US"), "Nov 19, 11:59" + space + "PM");
    EXPECT_EQ(label(2026y / November / 21, 15h + 4min, "de_DE"), "Today at 15:04") << "later today is still today";
}

TEST(HistoryFormat, CostsTokensAndCounts)
{
    EXPECT_EQ(historyformat::costLabel(0), "$0.00");
    EXPECT_EQ(historyformat::costLabel(0.0042), "$0.0042");
    EXPECT_EQ(historyformat::costLabel(0.00004), "$0.0000") << "rounds, never switches to exponent form";
    EXPECT_EQ(historyformat::costLabel(0.01), "$0.01");
    EXPECT_EQ(historyformat::costLabel(1234.5), "$1234.50");
    EXPECT_EQ(historyformat::tokensLabel(1234567, "de_DE"), "1.234.567 tokens");
    EXPECT_EQ(historyformat::countLabel(1), "1 correction");
}

} // namespace
} // namespace vesk
