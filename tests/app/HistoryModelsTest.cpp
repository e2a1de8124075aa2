// The history's list, overview and actions as the home window uses them, over a real SQLite file.

#include "HistoryTesting.h"
#include "app/models/HistoryActions.h"
#include "app/models/HistoryListModel.h"
#include "app/models/HomeModel.h"
#include "app/models/OverviewModel.h"
#include "app/services/ShortcutSettings.h"
#include "support/CalendarTesting.h"
#include "support/SettingsFile.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

using namespace std::chrono_literals;

using test::accepted;

class HistoryModelsTest : public ::testing::Test
{
protected:
    QString role(const HistoryListModel& model, int row, HistoryListModel::Role r) const
    {
        return model.data(model.index(row), r).toString();
    }

    QTemporaryDir dir;
    HistoryStore store{dir.filePath("history.sqlite3")};
    TimePoint now = std::chrono::system_clock::now();
    HistoryListModel::Clock clock = [this] { return now; };
};

TEST_F(HistoryModelsTest, ListFollowsTheStoreQueryAndLimitLive)
{
    HistoryListModel list(store, clock, test::pinned("UTC"));
    QAbstractItemModelTester tester(&list, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy counted(&list, &HistoryListModel::countChanged);

    store.record(accepted("teh cat", "The cat.", 1, "Mousepad"));
    store.record(accepted("Café", "  \n ", 2));
    store.record(accepted("helo", "Hello.", 1, "Firefox"));
    EXPECT_EQ(counted.count(), 3) << "every record shows without a refresh";
    // The labels themselves are the record's (core tests); here: each row shows its own record's.
    ASSERT_EQ(list.rowCount(), 3);
    EXPECT_EQ(role(list, 0, HistoryListModel::TitleRole), "Hello.") << "newest first";
    EXPECT_EQ(role(list, 1, HistoryListModel::SourceRole), "From Write");
    EXPECT_EQ(role(list, 1, HistoryListModel::FixesRole), "2 fixes");
    EXPECT_EQ(list.clearMessage(), "This permanently removes all 3 saved corrections.");

    list.setQuery("  cafe ");
    ASSERT_EQ(list.rowCount(), 1);
    EXPECT_EQ(role(list, 0, HistoryListModel::OriginalRole), "Café");
    EXPECT_EQ(list.totalCount(), 3) << "the header counts the whole history";
    list.setQuery("");

    list.setLimit(2);
    EXPECT_EQ(list.rowCount(), 2);
    const qint64 oldest = store.records().back().id;
    EXPECT_EQ(list.rowOf(oldest), -1) << "beyond the limit";
    EXPECT_EQ(list.record(oldest).value("title").toString(), "The cat.") << "details still come by id";

    now += std::chrono::hours(24);
    QSignalSpy redrawn(&list, &QAbstractItemModel::dataChanged);
    list.refreshTimes();
    EXPECT_EQ(redrawn.count(), 1);
    EXPECT_TRUE(role(list, 0, HistoryListModel::TimeRole).startsWith("Yesterday at "));

    store.clearAll();
    EXPECT_EQ(list.rowCount(), 0);
    EXPECT_TRUE(list.record(oldest).isEmpty());
}

TEST_F(HistoryModelsTest, OverviewFiguresTitlesAndEmptyState)
{
    const test::SettingsFile file;
    ShortcutSettings shortcuts(file.open());
    OverviewModel overview(store, &shortcuts, clock, test::pinned("UTC"));
    EXPECT_TRUE(overview.isEmpty());
    EXPECT_EQ(overview.emptyMessage(), "Select text in any app and press Alt+G to fix it.");
    shortcuts.setShortcut(ShortcutSettings::fixGrammar, std::nullopt);
    EXPECT_EQ(overview.emptyMessage(), "Select text in any app and press your shortcut to fix it.");

    store.record(accepted("teh", "The cat sat.", 1));
    ASSERT_FALSE(overview.isEmpty());
    const auto titles = [&overview] {
        QStringList list;
        for (const QVariant& card : overview.figures()) {
            list << card.toMap().value("value").toString() + " " + card.toMap().value("title").toString();
        }
        return list;
    };
    EXPECT_EQ(titles(), QStringList({"1 Mistake fixed", "1 This week", "3 Words polished", "1 Active days"}));
    store.record(accepted("helo", "Hello.", 2));
    EXPECT_EQ(titles().first(), "3 Mistakes fixed");
}

TEST_F(HistoryModelsTest, ActionsLoadTheComposerWithAFreshDraftEachTime)
{
    HomeModel home;
    std::vector<ComposerDraft> drafts;
    QStringList copied;
    HistoryActions actions(
        store, home, [&drafts](const ComposerDraft& draft) { drafts.push_back(draft); },
        [&copied](const QString& text) { copied << text; });
    store.record(accepted("helo wrld", "Hello, world.", 2));
    const qint64 id = store.records().front().id;

    actions.rerunOriginal(id);
    actions.rerunOriginal(id);
    ASSERT_EQ(drafts.size(), 2U);
    EXPECT_NE(drafts[0].id, drafts[1].id) << "the same text twice is still two runs";
    EXPECT_EQ(drafts[1].text, "helo wrld");
    EXPECT_TRUE(drafts[1].startsCorrection);
    actions.reuseCorrection(id);
    EXPECT_EQ(drafts.back().text, "Hello, world.");
    EXPECT_FALSE(drafts.back().startsCorrection);

    actions.copyCorrection(id);
    actions.copyOriginal(id);
    EXPECT_EQ(copied, QStringList({"Hello, world.", "helo wrld"}));

    actions.open(id);
    EXPECT_EQ(home.section(), HomeSection::activity);
    EXPECT_EQ(home.activitySelection(), id);
    actions.clearAll();
    EXPECT_EQ(home.activitySelection(), 0);
    actions.copyCorrection(id);
    EXPECT_EQ(copied.size(), 2) << "a cleared record does nothing";
}

} // namespace
} // namespace vesk::app
