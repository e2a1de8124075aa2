// The history on real SQLite files.

#include "app/HistoryStore.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

AcceptedCorrection accepted(std::string original, std::string corrected, std::optional<std::string> source = {})
{
    return {std::move(original),
            std::move(corrected),
            CorrectionRun{ProviderID::openai, "gpt-4o-mini", {}, {}},
            TokenUsage{1000, 200},
            1,
            std::move(source)};
}

class HistoryStoreTest : public ::testing::Test
{
protected:
    QString path() const { return m_dir.filePath("history.sqlite3"); }
    QTemporaryDir m_dir;
};

TEST_F(HistoryStoreTest, RecordsPersistNewestFirstAcrossReopening)
{
    {
        HistoryStore store(path());
        ASSERT_TRUE(store.isPersistent());
        QSignalSpy changed(&store, &HistoryStore::changed);
        store.record(accepted("teh cat", "The cat sat down.", "Mousepad"));
        store.record(accepted("helo", "hello"));
        EXPECT_EQ(changed.count(), 2);
    }
    HistoryStore reopened(path());
    ASSERT_EQ(reopened.records().size(), 2U);
    EXPECT_EQ(reopened.records()[0].corrected, "hello");
    EXPECT_EQ(reopened.records()[0].sourceApp, std::nullopt);
    EXPECT_EQ(reopened.records()[1].sourceApp, "Mousepad");
    EXPECT_DOUBLE_EQ(reopened.records()[1].estimatedCost, 1000 * 0.15e-6 + 200 * 0.60e-6);
    EXPECT_EQ(reopened.wordCounts(), (std::vector<int>{1, 4}));
    EXPECT_EQ(reopened.records()[1].settingsLabel(), "Grammar \u00B7 Preserve original");

    const auto utc = Calendar::create("UTC").value();
    const HistoryStats figures = reopened.stats(std::chrono::system_clock::now(), utc);
    EXPECT_EQ(figures.mistakesFixed, 2);
    EXPECT_EQ(figures.wordsPolished, 5) << "from the stored word counts";
}

TEST_F(HistoryStoreTest, SearchAndClear)
{
    HistoryStore store(path());
    store.record(accepted("Café crème", "Café crème.", "Mousepad"));
    store.record(accepted("helo", "hello"));
    EXPECT_EQ(store.search(QStringLiteral("  CAFE ")), (std::vector<std::size_t>{1}));
    EXPECT_EQ(store.search(QStringLiteral("write")), (std::vector<std::size_t>{0}));
    EXPECT_EQ(store.search(QStringLiteral("openai")).size(), 2U);
    EXPECT_EQ(store.search(QStringLiteral("   ")).size(), 2U);
    store.clearAll();
    EXPECT_TRUE(store.records().empty());
    EXPECT_TRUE(HistoryStore(path()).records().empty()) << "cleared on disk too";
}

TEST_F(HistoryStoreTest, UnusableFilesFallBackToMemoryAndAreLeftAlone)
{
    QFile corrupt(path());
    ASSERT_TRUE(corrupt.open(QIODevice::WriteOnly));
    corrupt.write(QByteArray(4096, 'x'));
    corrupt.close();
    {
        HistoryStore store(path());
        EXPECT_FALSE(store.isPersistent());
        store.record(accepted("helo", "hello"));
        EXPECT_EQ(store.records().size(), 1U) << "corrections are still kept until quit";
    }
    QFile again(path());
    ASSERT_TRUE(again.open(QIODevice::ReadOnly));
    EXPECT_EQ(again.readAll(), QByteArray(4096, 'x')) << "the user's file is never overwritten";

    HistoryStore unwritable(m_dir.filePath("no/such/dir/history.sqlite3"));
    EXPECT_FALSE(unwritable.isPersistent());
}

} // namespace
} // namespace vesk::app
