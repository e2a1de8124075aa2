
#include "app/services/HistoryStore.h"

#include "HistoryTesting.h"
#include "support/CalendarTesting.h"

#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <sqlite3.h>
#include <sys/stat.h>

namespace vesk::app {
namespace {

using test::accepted;

std::vector<std::string> correctedTexts(const HistoryStore& store)
{
    std::vector<std::string> texts;
    std::ranges::transform(store.records(), std::back_inserter(texts), &CorrectionRecord::corrected);
    return texts;
}

class HistoryStoreTest : public ::testing::Test
{
protected:
    QString path() const { return m_dir.filePath("history.sqlite3"); }

    std::string sql(const char* statement) const
    {
        sqlite3* db = nullptr;
        sqlite3_stmt* query = nullptr;
        std::string first;
        if (sqlite3_open(path().toUtf8().constData(), &db) == SQLITE_OK &&
            sqlite3_prepare_v2(db, statement, -1, &query, nullptr) == SQLITE_OK && sqlite3_step(query) == SQLITE_ROW) {
            first = reinterpret_cast<const char*>(sqlite3_column_text(query, 0));
        }
        sqlite3_finalize(query);
        sqlite3_close(db);
        return first;
    }

    QTemporaryDir m_dir;
};

TEST_F(HistoryStoreTest, RecordsPersistNewestFirstAndAreSearchedAndCleared)
{
    {
        HistoryStore store(path());
        ASSERT_TRUE(store.isPersistent());
        QSignalSpy changed(&store, &HistoryStore::changed);
        store.record(accepted("Café crème", "Café crème sat down.", 1, "Mousepad"));
        store.record(accepted("helo", "hello"));
        EXPECT_EQ(changed.count(), 2);
    }
    HistoryStore reopened(path());
    EXPECT_EQ(correctedTexts(reopened), (std::vector<std::string>{"hello", "Café crème sat down."}));
    EXPECT_EQ(reopened.records()[1].sourceApp, "Mousepad");
    EXPECT_EQ(reopened.stats(std::chrono::system_clock::now(), test::pinned("UTC")).wordsPolished, 5)
        << "from the stored word counts";
    // How a query matches is the record's (core tests); here: the index holds every row's text and source.
    EXPECT_EQ(reopened.search(QStringLiteral("  CAFE ")), (std::vector<std::size_t>{1}));
    EXPECT_EQ(reopened.search(QStringLiteral("write")), (std::vector<std::size_t>{0}));
    reopened.clearAll();
    EXPECT_TRUE(reopened.records().empty());
    EXPECT_TRUE(HistoryStore(path()).records().empty()) << "cleared on disk too";
}

TEST_F(HistoryStoreTest, RowsWrittenWhileTheClockWasBehindStillComeByDate)
{
    auto now = std::chrono::system_clock::now();
    {
        HistoryStore store(path(), HistoryStore::Use::app, [&now] { return now; });
        store.record(accepted("a", "Older one."));
        now -= std::chrono::hours(24);
        store.record(accepted("b", "Newer."));
        EXPECT_EQ(correctedTexts(store), (std::vector<std::string>{"Older one.", "Newer."}));
    }
    const HistoryStore reopened(path());
    EXPECT_EQ(correctedTexts(reopened), (std::vector<std::string>{"Older one.", "Newer."}));
    EXPECT_EQ(reopened.wordCounts(), (std::vector<int>{2, 1}));
    EXPECT_EQ(reopened.search(QStringLiteral("newer")), (std::vector<std::size_t>{1}));
}

// A long history is read in two halves at once; they come together newest first, each row with its own
// search text and word count.
TEST_F(HistoryStoreTest, ALongHistoryOpensWhole)
{
    HistoryStore(path()).record(accepted("first", "First."));
    sql("WITH RECURSIVE n(i) AS (SELECT 2 UNION ALL SELECT i + 1 FROM n WHERE i < 30000)"
        " INSERT INTO corrections (date_ms, provider, model, original, corrected, prompt_tokens, completion_tokens,"
        " estimated_cost, change_count, source_app, strength, tone, word_count, search_text)"
        " SELECT (SELECT date_ms FROM corrections) + i * 1000, 'openai', 'gpt-4o-mini', 'row ' || i,"
        " 'Row ' || i || '.', 0, 0, 0, 1, NULL, NULL, NULL, i % 7, '<' || i || '>' FROM n");
    const HistoryStore store(path());
    const auto& records = store.records();
    ASSERT_EQ(records.size(), 30'000U);
    EXPECT_EQ(records.front().id, 30'000);
    EXPECT_EQ(records.back().corrected, "First.");
    EXPECT_TRUE(std::ranges::is_sorted(records, std::greater<>(), &CorrectionRecord::id));
    EXPECT_EQ(store.search(QStringLiteral("<15001>")), (std::vector<std::size_t>{14'999}));
    EXPECT_EQ(store.search(QStringLiteral("<15000>")), (std::vector<std::size_t>{15'000}));
    EXPECT_EQ(store.wordCounts()[14'999], 15'001 % 7);
    EXPECT_EQ(store.wordCounts()[15'000], 15'000 % 7);
}

TEST_F(HistoryStoreTest, FiguresFromADamagedFileSaturate)
{
    for (const char* text : {"One.", "Two.", "Three."}) {
        HistoryStore(path()).record(accepted(text, text));
    }
    sql("UPDATE corrections SET change_count = 9223372036854775807, word_count = 2147483647 WHERE id > 1");
    sql("UPDATE corrections SET change_count = -5, word_count = -1 WHERE id = 1");
    const HistoryStore store(path());
    const HistoryStats figures = store.stats(std::chrono::system_clock::now(), test::pinned("UTC"));
    EXPECT_EQ(figures.mistakesFixed, std::numeric_limits<int>::max());
    EXPECT_EQ(figures.mistakesThisWeek, std::numeric_limits<int>::max());
    EXPECT_EQ(figures.wordsPolished, std::numeric_limits<int>::max());
    EXPECT_EQ(store.records().back().changeCount, 0);
}

// The history holds every text corrected: the file, its log and the log's index are the user's alone, under
// the usual umask and when an older version left the file readable by others.
TEST_F(HistoryStoreTest, TheFileAndItsLogAreTheUsersAlone)
{
    const mode_t umaskBefore = umask(022);
    for (const mode_t before : {0644, 0640}) {
        HistoryStore store(path());
        store.record(accepted("helo", "Hello."));
        for (const char* suffix : {"", "-wal", "-shm"}) {
            struct stat status
            {
            };
            ASSERT_EQ(stat((path() + suffix).toUtf8().constData(), &status), 0) << suffix;
            EXPECT_EQ(status.st_mode & 0777, 0600U) << suffix;
            chmod((path() + suffix).toUtf8().constData(), before);
        }
    }
    umask(umaskBefore);
}

TEST_F(HistoryStoreTest, ALocaleChangeFoldsTheSearchTextsAgain)
{
    HistoryStore(path()).record(accepted("helo", "Hello there."));
    sql("UPDATE meta SET value = 'xx_XX' WHERE key = 'searchLocale'");
    sql("UPDATE corrections SET search_text = 'stale'");
    const HistoryStore store(path());
    EXPECT_EQ(store.search(QStringLiteral("there")).size(), 1U);
    EXPECT_NE(sql("SELECT search_text FROM corrections"), "stale") << "and stored folded again";
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

    ASSERT_TRUE(QFile::remove(path()));
    HistoryStore(path()).record(accepted("helo", "hello"));
    sql("PRAGMA user_version = 2");
    EXPECT_FALSE(HistoryStore(path()).isPersistent()) << "written by a newer version";
    EXPECT_EQ(sql("PRAGMA user_version"), "2");
}

// The running app and `vesk correct` share one file: each sees what the other wrote, once.
TEST_F(HistoryStoreTest, WritesAndClearsFromAnotherProcessShowUp)
{
    HistoryStore app(path());
    app.record(accepted("mine", "Mine."));
    HistoryStore other(path());
    QSignalSpy changed(&app, &HistoryStore::changed);
    other.record(accepted("theirs", "Theirs.", 1, "Command line"));
    ASSERT_TRUE(changed.wait(3 * HistoryStore::refreshInterval.count())) << "picked up on its own";
    EXPECT_EQ(correctedTexts(app), (std::vector<std::string>{"Theirs.", "Mine."}));
    EXPECT_EQ(app.search(QStringLiteral("command")), (std::vector<std::size_t>{0}));

    app.record(accepted("a", "A."));
    other.record(accepted("b", "B."));
    app.record(accepted("c", "C."));
    app.refresh();
    EXPECT_EQ(correctedTexts(app), (std::vector<std::string>{"C.", "B.", "A.", "Theirs.", "Mine."}))
        << "interleaved rows each once, newest first";
    changed.clear();
    app.refresh();
    EXPECT_EQ(changed.count(), 0) << "nothing new, nothing emitted";

    other.clearAll();
    other.record(accepted("after", "After.")); // the file numbers its rows from 1 again
    app.refresh();
    EXPECT_EQ(correctedTexts(app), (std::vector<std::string>{"After."}));
    EXPECT_EQ(changed.count(), 1);
}

TEST_F(HistoryStoreTest, AKillDuringWritesKeepsTheFileWholeAndEveryCommittedRow)
{
    std::set<std::int64_t> committed;
    for (const int killAfter : {1, 40, 150}) {
        SCOPED_TRACE(killAfter);
        QProcess writer;
        writer.start(QStringLiteral(VESK_HISTORY_WRITER), {path()});
        ASSERT_TRUE(writer.waitForStarted());
        QByteArray out;
        while (out.count('\n') < killAfter && writer.waitForReadyRead(10'000)) {
            out += writer.readAllStandardOutput();
        }
        writer.kill();
        writer.waitForFinished();
        out += writer.readAllStandardOutput();
        ASSERT_GE(out.count('\n'), killAfter) << writer.readAllStandardError().toStdString();
        // A torn last line was never reported.
        for (const QByteArray& line : out.left(out.lastIndexOf('\n')).split('\n')) {
            committed.insert(line.toLongLong());
        }
    }

    EXPECT_EQ(sql("PRAGMA integrity_check"), "ok");
    const HistoryStore store(path());
    ASSERT_TRUE(store.isPersistent());
    std::set<std::int64_t> stored;
    for (const CorrectionRecord& record : store.records()) {
        stored.insert(record.id);
    }
    EXPECT_TRUE(std::includes(stored.begin(), stored.end(), committed.begin(), committed.end()));
}

TEST_F(HistoryStoreTest, TerminalCommandsOnlyAddOrOnlyRead)
{
    HistoryStore(path()).record(accepted("teh cat", "The cat."));
    {
        HistoryStore adding(path(), HistoryStore::Use::append);
        EXPECT_TRUE(adding.records().empty()) << "adding a row reads none of the others";
        EXPECT_TRUE(adding.record(accepted("helo", "Hello.", 1, "Command line")));
    }
    HistoryStore reading(path(), HistoryStore::Use::read);
    EXPECT_EQ(correctedTexts(reading), (std::vector<std::string>{"Hello.", "The cat."}));
    EXPECT_EQ(reading.search(QStringLiteral("HELLO")).size(), 1U);
}

} // namespace
} // namespace vesk::app
