#include "app/services/HistoryStore.h"
#include "app/common/Logging.h"

#include "core/UnicodeText.h"

#include <QDir>
#include <QLoggingCategory>
#include <QStandardPaths>
#include <algorithm>
#include <numeric>
#include <sqlite3.h>
#include <thread>
#include <unicode/locid.h>

namespace vesk::app {


namespace {

using Clock = std::chrono::system_clock;

// The folding of the search column depends on the user's locale; a change of locale refolds on load.
std::string currentLocale()
{
    return icu::Locale::getDefault().getName();
}

class Statement
{
public:
    Statement(sqlite3* db, const char* sql)
    {
        if (sqlite3_prepare_v2(db, sql, -1, &m_statement, nullptr) != SQLITE_OK) {
            m_statement = nullptr;
        }
    }
    ~Statement() { sqlite3_finalize(m_statement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    explicit operator bool() const { return m_statement != nullptr; }
    sqlite3_stmt* get() const { return m_statement; }

    void bind(int index, const std::string& text) const
    {
        sqlite3_bind_text(m_statement, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
    }
    void bind(int index, const std::optional<std::string>& text) const
    {
        if (text) {
            bind(index, *text);
        } else {
            sqlite3_bind_null(m_statement, index);
        }
    }
    void bind(int index, std::int64_t value) const { sqlite3_bind_int64(m_statement, index, value); }
    void bind(int index, double value) const { sqlite3_bind_double(m_statement, index, value); }

    std::string text(int column) const
    {
        const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(m_statement, column));
        return bytes ? std::string(bytes, static_cast<std::size_t>(sqlite3_column_bytes(m_statement, column)))
                     : std::string();
    }
    std::optional<std::string> optionalText(int column) const
    {
        if (sqlite3_column_type(m_statement, column) == SQLITE_NULL) {
            return std::nullopt;
        }
        return text(column);
    }
    std::int64_t integer(int column) const { return sqlite3_column_int64(m_statement, column); }

private:
    sqlite3_stmt* m_statement = nullptr;
};

bool exec(sqlite3* db, const char* sql)
{
    char* error = nullptr;
    if (sqlite3_exec(db, sql, nullptr, nullptr, &error) != SQLITE_OK) {
        qCWarning(lcHistory) << "SQLite:" << (error ? error : "unknown error");
        sqlite3_free(error);
        return false;
    }
    return true;
}

// Reading through the page cache's mapping saves copying every page on the way in.
constexpr const char* mapFile = "PRAGMA mmap_size=1073741824;";

// The first column of the first row, or nothing when there is no row.
std::optional<std::int64_t> queryInteger(sqlite3* db, const char* sql)
{
    const Statement statement(db, sql);
    if (!statement || sqlite3_step(statement.get()) != SQLITE_ROW) {
        return std::nullopt;
    }
    return statement.integer(0);
}

// Each clear counts up, so that other processes holding the history know to drop theirs.
constexpr const char* clearsQuery = "SELECT CAST(value AS INTEGER) FROM meta WHERE key = 'clears'";

constexpr const char* selectRecords = "SELECT id, date_ms, provider, model, original, corrected, prompt_tokens, "
                                      "completion_tokens, estimated_cost, change_count, source_app, strength, tone, "
                                      "word_count, search_text FROM corrections ";
constexpr int wordCountColumn = 13;
constexpr int searchTextColumn = 14;

// Fills a record in place: opening a long history spends its time allocating and copying.
void readRecord(const Statement& rows, CorrectionRecord& r)
{
    r.id = rows.integer(0);
    r.date = Clock::time_point(std::chrono::milliseconds(rows.integer(1)));
    r.providerRaw = rows.text(2);
    r.model = rows.text(3);
    r.original = rows.text(4);
    r.corrected = rows.text(5);
    r.promptTokens = rows.integer(6);
    r.completionTokens = rows.integer(7);
    r.estimatedCost = sqlite3_column_double(rows.get(), 8);
    r.changeCount = static_cast<int>(rows.integer(9));
    r.sourceApp = rows.optionalText(10);
    r.strengthRaw = rows.optionalText(11);
    r.toneRaw = rows.optionalText(12);
}

// The order of records(): newest first, and the later row first within one millisecond.
bool isNewer(const CorrectionRecord& a, const CorrectionRecord& b)
{
    return a.date != b.date ? a.date > b.date : a.id > b.id;
}

// Rows of the file as the store keeps them: newest first by id, with word counts and search texts.
struct Rows
{
    std::vector<CorrectionRecord> records;
    std::vector<std::string> searchTexts;
    std::vector<int> wordCounts;
};

// Appends the rows with ids in (above, upTo], newest first, folding their search texts again if asked.
bool readRows(sqlite3* db, std::int64_t above, std::int64_t upTo, bool refold, Rows& into)
{
    const auto count = static_cast<std::size_t>(std::max<std::int64_t>(upTo - above, 0));
    into.records.reserve(into.records.size() + count);
    into.searchTexts.reserve(into.searchTexts.size() + count);
    into.wordCounts.reserve(into.wordCounts.size() + count);
    Statement rows(db, (std::string(selectRecords) + "WHERE id > ? AND id <= ? ORDER BY id DESC").c_str());
    if (!rows) {
        return false;
    }
    rows.bind(1, above);
    rows.bind(2, upTo);
    int step = 0;
    while ((step = sqlite3_step(rows.get())) == SQLITE_ROW) {
        CorrectionRecord& r = into.records.emplace_back();
        readRecord(rows, r);
        into.wordCounts.push_back(static_cast<int>(rows.integer(wordCountColumn)));
        into.searchTexts.push_back(refold ? r.searchText() : rows.text(searchTextColumn));
    }
    return step == SQLITE_DONE;
}

// The same through a connection of its own, for a thread of its own.
bool readRowsOfFile(const char* file, std::int64_t upTo, bool refold, Rows& into)
{
    sqlite3* db = nullptr;
    bool read = sqlite3_open_v2(file, &db, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr) == SQLITE_OK;
    if (read) {
        sqlite3_busy_timeout(db, 2000);
        read = exec(db, mapFile) && readRows(db, 0, upTo, refold, into);
    }
    sqlite3_close(db);
    return read;
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

HistoryStore::HistoryStore(QString path, Use use, QObject* parent) : QObject(parent), m_use(use)
{
    if (path.isEmpty()) {
        const QString dir = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
        QDir().mkpath(dir);
        path = dir + QStringLiteral("/history.sqlite3");
    }
    m_persistent = open(path);
    if (!m_persistent) {
        qCCritical(lcHistory).noquote() << QStringLiteral("Persistent store failed (%1); using in-memory.")
                                               .arg(QString::fromUtf8(m_db ? sqlite3_errmsg(m_db) : "cannot open"));
        sqlite3_close(m_db);
        m_db = nullptr;
        forget();
        if (!open(QStringLiteral(":memory:"))) {
            qFatal("The in-memory history store cannot be opened");
        }
        return;
    }
    if (m_use != Use::app) {
        return;
    }
    m_refreshTimer.setInterval(refreshInterval);
    connect(&m_refreshTimer, &QTimer::timeout, this, &HistoryStore::refresh);
    m_refreshTimer.start();
}

HistoryStore::~HistoryStore()
{
    sqlite3_close(m_db);
}

bool HistoryStore::open(const QString& path)
{
    if (sqlite3_open_v2(path.toUtf8().constData(), &m_db,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr) != SQLITE_OK) {
        return false;
    }
    sqlite3_busy_timeout(m_db, 2000);
    // Write-ahead logging: a kill during a write leaves the last committed state; readers never block.
    return exec(m_db, "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;") && exec(m_db, mapFile) && migrate() &&
           (m_use == Use::append ? readFoldLocale() : load());
}

bool HistoryStore::migrate()
{
    Statement version(m_db, "PRAGMA user_version");
    if (!version || sqlite3_step(version.get()) != SQLITE_ROW) {
        return false;
    }
    const int current = sqlite3_column_int(version.get(), 0);
    if (current == schemaVersion) {
        return true;
    }
    if (current > schemaVersion) {
        qCWarning(lcHistory) << "The history was written by a newer Vesk (schema" << current << ")";
        return false;
    }
    // Each step moves one version up inside a transaction; later versions add steps here.
    return exec(m_db, "BEGIN;"
                      "CREATE TABLE corrections ("
                      " id INTEGER PRIMARY KEY,"
                      " date_ms INTEGER NOT NULL,"
                      " provider TEXT NOT NULL,"
                      " model TEXT NOT NULL,"
                      " original TEXT NOT NULL,"
                      " corrected TEXT NOT NULL,"
                      " prompt_tokens INTEGER NOT NULL,"
                      " completion_tokens INTEGER NOT NULL,"
                      " estimated_cost REAL NOT NULL,"
                      " change_count INTEGER NOT NULL,"
                      " source_app TEXT,"
                      " strength TEXT,"
                      " tone TEXT,"
                      " word_count INTEGER NOT NULL,"
                      " search_text TEXT NOT NULL);"
                      "CREATE TABLE meta (key TEXT PRIMARY KEY, value TEXT NOT NULL);"
                      "PRAGMA user_version = 1;"
                      "COMMIT;");
}

// The locale the file's search texts were folded in, or this process's for a new file.
bool HistoryStore::readFoldLocale()
{
    Statement meta(m_db, "SELECT value FROM meta WHERE key = 'searchLocale'");
    if (!meta) {
        return false;
    }
    if (sqlite3_step(meta.get()) == SQLITE_ROW) {
        m_foldLocale = meta.text(0);
        return true;
    }
    m_foldLocale = currentLocale();
    if (m_use != Use::read) {
        Statement setLocale(m_db, "INSERT OR IGNORE INTO meta (key, value) VALUES ('searchLocale', ?)");
        if (setLocale) {
            setLocale.bind(1, m_foldLocale);
            sqlite3_step(setLocale.get());
        }
    }
    return true;
}

bool HistoryStore::load()
{
    m_dataVersion = queryInteger(m_db, "PRAGMA data_version").value_or(0);
    m_clears = queryInteger(m_db, clearsQuery).value_or(0);
    if (!readFoldLocale()) {
        return false;
    }
    const bool refold = m_foldLocale != currentLocale();
    m_foldLocale = currentLocale();
    // Ids only grow between clears, and rows are never deleted one by one, so the rows up to the highest id
    // are all there is; any written meanwhile are taken in at the next look. Rows come newest first by id,
    // which is date order unless the clock was turned back meanwhile (put right below), which spares
    // SQLite sorting the whole history. Most of opening is copying rows into memory, so a long history is
    // read in two halves at once, the older one through a second connection on a thread of its own.
    const std::int64_t lastId = queryInteger(m_db, "SELECT max(id) FROM corrections").value_or(0);
    const char* file = sqlite3_db_filename(m_db, "main");
    const std::int64_t middle = lastId >= 20'000 && file != nullptr && *file != '\0' ? lastId / 2 : 0;
    Rows newer;
    Rows older;
    bool olderRead = true;
    std::jthread olderHalf; // joined however this function is left
    if (middle > 0) {
        olderHalf = std::jthread([&] { olderRead = readRowsOfFile(file, middle, refold, older); });
    }
    newer.records.reserve(static_cast<std::size_t>(lastId)); // room for the older half too
    newer.searchTexts.reserve(static_cast<std::size_t>(lastId));
    newer.wordCounts.reserve(static_cast<std::size_t>(lastId));
    const bool newerRead = readRows(m_db, middle, lastId, refold, newer);
    if (olderHalf.joinable()) {
        olderHalf.join();
    }
    if (!olderRead) { // the second connection failed; this one may still do
        older = {};
        olderRead = readRows(m_db, 0, middle, refold, older);
    }
    if (!newerRead || !olderRead) {
        return false;
    }
    m_records = std::move(newer.records);
    m_records.insert(m_records.end(), std::make_move_iterator(older.records.begin()),
                     std::make_move_iterator(older.records.end()));
    m_searchTexts = std::move(newer.searchTexts);
    m_searchTexts.insert(m_searchTexts.end(), std::make_move_iterator(older.searchTexts.begin()),
                         std::make_move_iterator(older.searchTexts.end()));
    m_wordCounts = std::move(newer.wordCounts);
    m_wordCounts.insert(m_wordCounts.end(), older.wordCounts.begin(), older.wordCounts.end());
    m_lastSeenId = lastId;
    if (!std::is_sorted(m_records.begin(), m_records.end(), isNewer)) {
        std::vector<std::size_t> order(m_records.size());
        std::iota(order.begin(), order.end(), 0);
        std::stable_sort(order.begin(), order.end(),
                         [this](std::size_t a, std::size_t b) { return isNewer(m_records[a], m_records[b]); });
        reorder(m_records, order);
        reorder(m_searchTexts, order);
        reorder(m_wordCounts, order);
    }
    if (refold && m_use == Use::app) {
        Statement setLocale(m_db, "INSERT OR REPLACE INTO meta (key, value) VALUES ('searchLocale', ?)");
        if (setLocale) {
            setLocale.bind(1, currentLocale());
            sqlite3_step(setLocale.get());
        }
        if (!m_records.empty()) {
            exec(m_db, "BEGIN;");
            Statement update(m_db, "UPDATE corrections SET search_text = ? WHERE id = ?");
            for (std::size_t i = 0; update && i < m_records.size(); ++i) {
                update.bind(1, m_searchTexts[i]);
                update.bind(2, m_records[i].id);
                sqlite3_step(update.get());
                sqlite3_reset(update.get());
            }
            exec(m_db, "COMMIT;");
        }
    }
    return true;
}

// Rows other processes added since the last look, placed by date among those held. Says whether there
// were any.
bool HistoryStore::loadNewRows()
{
    Statement rows(m_db, (std::string(selectRecords) + "WHERE id > ? ORDER BY id").c_str());
    if (!rows) {
        return false;
    }
    rows.bind(1, m_lastSeenId);
    bool added = false;
    while (sqlite3_step(rows.get()) == SQLITE_ROW) {
        CorrectionRecord r;
        readRecord(rows, r);
        m_lastSeenId = std::max(m_lastSeenId, r.id);
        if (std::find(m_ownIds.begin(), m_ownIds.end(), r.id) != m_ownIds.end()) {
            continue;
        }
        // Folded here: the writer may have folded in another locale.
        std::string searchText = r.searchText();
        const auto words = static_cast<int>(rows.integer(wordCountColumn));
        add(std::move(r), std::move(searchText), words);
        added = true;
    }
    std::erase_if(m_ownIds, [this](std::int64_t id) { return id <= m_lastSeenId; });
    return added;
}

void HistoryStore::refresh()
{
    if (!m_persistent) {
        return;
    }
    const auto version = queryInteger(m_db, "PRAGMA data_version");
    if (!version || *version == m_dataVersion) {
        return;
    }
    m_dataVersion = *version;
    if (queryInteger(m_db, clearsQuery).value_or(0) != m_clears) {
        // Cleared elsewhere, perhaps with new rows since: start again from the file.
        forget();
        load();
        emit cleared();
        emit changed();
    } else if (loadNewRows()) {
        emit changed();
    }
}

void HistoryStore::forget()
{
    m_records.clear();
    m_searchTexts.clear();
    m_wordCounts.clear();
    m_lastSeenId = 0;
    m_ownIds.clear();
}

void HistoryStore::add(CorrectionRecord record, std::string searchText, int words)
{
    const auto at = std::lower_bound(m_records.begin(), m_records.end(), record, isNewer);
    const auto index = at - m_records.begin();
    m_records.insert(at, std::move(record));
    m_searchTexts.insert(m_searchTexts.begin() + index, std::move(searchText));
    m_wordCounts.insert(m_wordCounts.begin() + index, words);
}

bool HistoryStore::record(const AcceptedCorrection& accepted)
{
    // Dated to the millisecond the file keeps, so that this record sorts the same as when read back.
    CorrectionRecord r = CorrectionRecord::from(accepted, std::chrono::floor<std::chrono::milliseconds>(Clock::now()));
    const int words = static_cast<int>(unicode::countWords(r.corrected));
    std::string searchText = r.searchText(m_foldLocale);
    Statement insert(m_db, "INSERT INTO corrections (date_ms, provider, model, original, corrected, prompt_tokens, "
                           "completion_tokens, estimated_cost, change_count, source_app, strength, tone, word_count, "
                           "search_text) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    bool saved = static_cast<bool>(insert);
    if (saved) {
        insert.bind(1, static_cast<std::int64_t>(
                           std::chrono::duration_cast<std::chrono::milliseconds>(r.date.time_since_epoch()).count()));
        insert.bind(2, r.providerRaw);
        insert.bind(3, r.model);
        insert.bind(4, r.original);
        insert.bind(5, r.corrected);
        insert.bind(6, r.promptTokens);
        insert.bind(7, r.completionTokens);
        insert.bind(8, r.estimatedCost);
        insert.bind(9, static_cast<std::int64_t>(r.changeCount));
        insert.bind(10, r.sourceApp);
        insert.bind(11, r.strengthRaw);
        insert.bind(12, r.toneRaw);
        insert.bind(13, static_cast<std::int64_t>(words));
        insert.bind(14, searchText);
        saved = sqlite3_step(insert.get()) == SQLITE_DONE;
    }
    if (saved) {
        r.id = sqlite3_last_insert_rowid(m_db);
        // Nothing can have been written between the last row seen and this one unless its id leaves a gap.
        if (r.id == m_lastSeenId + 1) {
            m_lastSeenId = r.id;
        } else if (m_persistent) {
            m_ownIds.push_back(r.id);
        }
    } else {
        qCCritical(lcHistory).noquote()
            << QStringLiteral("History save failed: %1").arg(QString::fromUtf8(sqlite3_errmsg(m_db)));
        // Still shown until quit, under an id no stored row can have, so the views can tell it apart.
        r.id = --m_lastUnsavedId;
    }
    add(std::move(r), std::move(searchText), words);
    emit changed();
    return saved && m_persistent;
}

void HistoryStore::clearAll()
{
    if (!exec(m_db, "BEGIN IMMEDIATE;"
                    "DELETE FROM corrections;"
                    "INSERT INTO meta (key, value) VALUES ('clears', 1)"
                    " ON CONFLICT (key) DO UPDATE SET value = CAST(value AS INTEGER) + 1;"
                    "COMMIT;") &&
        sqlite3_get_autocommit(m_db) == 0) {
        exec(m_db, "ROLLBACK;");
    }
    m_clears = queryInteger(m_db, clearsQuery).value_or(0);
    forget();
    m_dataVersion = -1; // the next look takes in whatever the file still holds, should the clear have failed
    emit cleared();
    emit changed();
}

std::vector<std::size_t> HistoryStore::search(const QString& query) const
{
    const std::string folded = foldedQuery(query.toStdString());
    std::vector<std::size_t> matches;
    for (std::size_t i = 0; i < m_records.size(); ++i) {
        if (folded.empty() || m_searchTexts[i].find(folded) != std::string::npos) {
            matches.push_back(i);
        }
    }
    return matches;
}

const CorrectionRecord* HistoryStore::find(std::int64_t id) const
{
    const auto found =
        std::find_if(m_records.begin(), m_records.end(), [id](const CorrectionRecord& r) { return r.id == id; });
    return found == m_records.end() ? nullptr : &*found;
}

HistoryStats HistoryStore::stats(TimePoint now, const Calendar& calendar) const
{
    std::vector<HistoryStats::Entry> entries;
    entries.reserve(m_records.size());
    for (std::size_t i = 0; i < m_records.size(); ++i) {
        entries.push_back({m_records[i].date, m_records[i].changeCount, {}});
    }
    return HistoryStats::compute(entries, now, calendar, m_wordCounts);
}

} // namespace vesk::app
