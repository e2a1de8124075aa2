#include "app/services/HistoryDatabase.h"
#include "app/common/Logging.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <sqlite3.h>
#include <thread>

namespace vesk::app {

namespace {

using Clock = std::chrono::system_clock;

class Statement
{
public:
    Statement(sqlite3* db, const char* sql)
    {
        if (sqlite3_prepare_v2(db, sql, -1, &m_statement, nullptr) != SQLITE_OK) {
            m_statement = nullptr;
        }
    }
    Statement(sqlite3* db, const std::string& sql) : Statement(db, sql.c_str()) {}
    ~Statement() { sqlite3_finalize(m_statement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    explicit operator bool() const { return m_statement != nullptr; }

    // Binds in order from the first parameter; false when any binding failed.
    template <typename... Values> bool bind(const Values&... values)
    {
        int index = 0;
        return (bindOne(++index, values) && ...);
    }
    int step() const { return sqlite3_step(m_statement); }
    bool reset() const { return sqlite3_reset(m_statement) == SQLITE_OK; }

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
    double real(int column) const { return sqlite3_column_double(m_statement, column); }

private:
    bool bindOne(int index, const std::string& text) const
    {
        return sqlite3_bind_text(m_statement, index, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT) ==
               SQLITE_OK;
    }
    bool bindOne(int index, const std::optional<std::string>& text) const
    {
        return text ? bindOne(index, *text) : sqlite3_bind_null(m_statement, index) == SQLITE_OK;
    }
    bool bindOne(int index, std::int64_t value) const
    {
        return sqlite3_bind_int64(m_statement, index, value) == SQLITE_OK;
    }
    bool bindOne(int index, int value) const { return bindOne(index, static_cast<std::int64_t>(value)); }
    bool bindOne(int index, double value) const { return sqlite3_bind_double(m_statement, index, value) == SQLITE_OK; }

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

// The operating system's error behind SQLite's last one. An I/O error keeps it with the file it happened to
// (the log, mostly), not with the connection.
int systemError(sqlite3* db)
{
    if (const int error = sqlite3_system_errno(db); error != 0) {
        return error;
    }
    int error = 0;
    sqlite3_file* log = nullptr;
    if (sqlite3_file_control(db, "main", SQLITE_FCNTL_JOURNAL_POINTER, &log) == SQLITE_OK && log != nullptr &&
        log->pMethods != nullptr && log->pMethods->xFileControl(log, SQLITE_FCNTL_LAST_ERRNO, &error) == SQLITE_OK &&
        error != 0) {
        return error;
    }
    sqlite3_file_control(db, "main", SQLITE_FCNTL_LAST_ERRNO, &error);
    return error;
}

// Reading through the page cache's mapping saves copying every page on the way in.
constexpr const char* mapFile = "PRAGMA mmap_size=1073741824;";
constexpr int busyTimeoutMs = 2000;

// The first column of the first row, or nothing when there is none or the query failed.
std::optional<std::int64_t> queryInteger(sqlite3* db, const char* sql)
{
    Statement statement(db, sql);
    if (!statement || statement.step() != SQLITE_ROW) {
        return std::nullopt;
    }
    return statement.integer(0);
}

constexpr const char* selectRecords = "SELECT id, date_ms, provider, model, original, corrected, prompt_tokens, "
                                      "completion_tokens, estimated_cost, change_count, source_app, strength, tone, "
                                      "word_count, search_text FROM corrections ";
constexpr int wordCountColumn = 13;
constexpr int searchTextColumn = 14;

// A count as the views hold it; a damaged file may hold anything.
int clampedInt(std::int64_t value)
{
    return static_cast<int>(std::clamp<std::int64_t>(value, 0, std::numeric_limits<int>::max()));
}

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
    r.estimatedCost = rows.real(8);
    r.changeCount = clampedInt(rows.integer(9));
    r.sourceApp = rows.optionalText(10);
    r.strengthRaw = rows.optionalText(11);
    r.toneRaw = rows.optionalText(12);
}

// Appends every row the statement gives, folding their search texts again if asked.
bool collect(Statement& rows, bool refold, HistoryRows& into)
{
    int step = 0;
    while ((step = rows.step()) == SQLITE_ROW) {
        CorrectionRecord& r = into.records.emplace_back();
        readRecord(rows, r);
        into.wordCounts.push_back(clampedInt(rows.integer(wordCountColumn)));
        into.searchTexts.push_back(refold ? r.searchText() : rows.text(searchTextColumn));
    }
    return step == SQLITE_DONE;
}

// Appends the rows with ids in (above, upTo], newest first, folding their search texts again if asked.
bool readRange(sqlite3* db, std::int64_t above, std::int64_t upTo, bool refold, HistoryRows& into)
{
    const auto count = static_cast<std::size_t>(std::max<std::int64_t>(upTo - above, 0));
    into.records.reserve(into.records.size() + count);
    into.searchTexts.reserve(into.searchTexts.size() + count);
    into.wordCounts.reserve(into.wordCounts.size() + count);
    Statement rows(db, std::string(selectRecords) + "WHERE id > ? AND id <= ? ORDER BY id DESC");
    if (!rows || !rows.bind(above, upTo)) {
        return false;
    }
    return collect(rows, refold, into);
}

// The same through a connection of its own, for a thread of its own.
bool readRangeOfFile(const char* file, std::int64_t upTo, bool refold, HistoryRows& into)
{
    sqlite3* db = nullptr;
    bool read = sqlite3_open_v2(file, &db, SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX, nullptr) == SQLITE_OK;
    if (read) {
        read = sqlite3_busy_timeout(db, busyTimeoutMs) == SQLITE_OK && exec(db, mapFile) && readRange(db, 0, upTo, refold, into);
    }
    sqlite3_close(db);
    return read;
}

template <typename T> void append(std::vector<T>& to, std::vector<T>& from)
{
    to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
}

} // namespace

HistoryDatabase::~HistoryDatabase()
{
    close();
}

void HistoryDatabase::close()
{
    sqlite3_close(m_db);
    m_db = nullptr;
}

std::string HistoryDatabase::errorMessage() const
{
    return m_db ? sqlite3_errmsg(m_db) : "cannot open";
}

bool HistoryDatabase::exec(const char* sql)
{
    return vesk::app::exec(m_db, sql) || noteFailure();
}

bool HistoryDatabase::noteFailure()
{
    // Classified from the first failure: what follows (a rollback) says nothing about the cause.
    if (m_problem != Problem::none) {
        return false;
    }
    const int code = m_db ? sqlite3_errcode(m_db) : SQLITE_CANTOPEN;
    const int system = m_db ? systemError(m_db) : 0;
    if (code == SQLITE_FULL || system == ENOSPC || system == EDQUOT || system == EFBIG) {
        m_problem = Problem::full;
    } else if (code == SQLITE_READONLY || code == SQLITE_PERM || system == EROFS || system == EACCES ||
               system == EPERM) {
        m_problem = Problem::readOnly;
    } else {
        m_problem = Problem::unusable;
    }
    return false;
}

bool HistoryDatabase::open(const std::string& path, Access access)
{
    close();
    m_problem = Problem::none;
    if (sqlite3_open_v2(path.c_str(), &m_db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                        nullptr) != SQLITE_OK) {
        return noteFailure();
    }
    if (sqlite3_busy_timeout(m_db, busyTimeoutMs) != SQLITE_OK) {
        return noteFailure();
    }
    // SQLite opens a file it may not write for reading only; that does for reading a current history.
    if (sqlite3_db_readonly(m_db, "main") == 1) {
        if (access == Access::readWrite) {
            m_problem = Problem::readOnly;
            return false;
        }
        return exec(mapFile) && hasCurrentSchema();
    }
    // A newer version's file is left exactly as it is, journal mode included.
    const auto version = queryInteger(m_db, "PRAGMA user_version");
    if (!version || *version > schemaVersion) {
        return hasCurrentSchema();
    }
    return useWriteAheadLog() && exec("PRAGMA synchronous=NORMAL;") && exec(mapFile) && migrate();
}

bool HistoryDatabase::hasCurrentSchema()
{
    const auto version = queryInteger(m_db, "PRAGMA user_version");
    if (!version) {
        return noteFailure();
    }
    if (*version > schemaVersion) {
        qCWarning(lcHistory) << "The history was written by a newer Vesk (schema" << *version << ")";
        m_problem = Problem::newer;
    }
    return *version == schemaVersion || noteFailure();
}

// Write-ahead logging: a kill during a write leaves the last committed state; readers never block. The
// switch takes the whole file, which SQLite does not wait for, so it is tried again while others hold it
// (many first runs at once all find a new file).
bool HistoryDatabase::useWriteAheadLog()
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(busyTimeoutMs);
    for (;;) {
        {
            Statement mode(m_db, "PRAGMA journal_mode");
            if (mode && mode.step() == SQLITE_ROW && mode.text(0) == "wal") {
                return true;
            }
        }
        {
            Statement mode(m_db, "PRAGMA journal_mode=WAL");
            const int step = mode ? mode.step() : sqlite3_errcode(m_db);
            if (step == SQLITE_ROW) { // "wal", or "memory" for a history that lives in memory
                return true;
            }
            if ((step & 0xff) != SQLITE_BUSY && (step & 0xff) != SQLITE_LOCKED) {
                qCWarning(lcHistory) << "SQLite: write-ahead log refused:" << sqlite3_errmsg(m_db);
                return noteFailure();
            }
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return noteFailure();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

bool HistoryDatabase::migrate()
{
    const auto found = queryInteger(m_db, "PRAGMA user_version");
    if (!found || *found >= schemaVersion) {
        return hasCurrentSchema();
    }
    // Another process may be creating the same file: the version is read again once this one holds the
    // write lock (BEGIN IMMEDIATE waits for it), and creating what is already there is no error.
    if (!exec("BEGIN IMMEDIATE;")) {
        return false;
    }
    const auto current = queryInteger(m_db, "PRAGMA user_version");
    if (!current || *current >= schemaVersion) {
        const bool isCurrent = hasCurrentSchema();
        return exec(isCurrent ? "COMMIT;" : "ROLLBACK;") && isCurrent;
    }
    // Each step moves one version up; later versions add steps here.
    if (exec("CREATE TABLE IF NOT EXISTS corrections ("
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
             "CREATE TABLE IF NOT EXISTS meta (key TEXT PRIMARY KEY, value TEXT NOT NULL);"
             "PRAGMA user_version = 1;"
             "COMMIT;")) {
        return true;
    }
    exec("ROLLBACK;");
    return false;
}

std::optional<std::int64_t> HistoryDatabase::dataVersion() const
{
    return queryInteger(m_db, "PRAGMA data_version");
}

std::optional<std::int64_t> HistoryDatabase::clears() const
{
    // Each clear counts up, so that other processes holding the history know to drop theirs.
    return queryInteger(m_db, "SELECT coalesce((SELECT CAST(value AS INTEGER) FROM meta WHERE key = 'clears'), 0)");
}

std::optional<std::int64_t> HistoryDatabase::lastId() const
{
    return queryInteger(m_db, "SELECT coalesce(max(id), 0) FROM corrections");
}

std::optional<std::string> HistoryDatabase::foldLocale() const
{
    Statement meta(m_db, "SELECT value FROM meta WHERE key = 'searchLocale'");
    if (meta && meta.step() == SQLITE_ROW) {
        return meta.text(0);
    }
    return std::nullopt;
}

bool HistoryDatabase::setFoldLocale(const std::string& locale, bool replace)
{
    Statement set(m_db, replace ? "INSERT OR REPLACE INTO meta (key, value) VALUES ('searchLocale', ?)"
                                : "INSERT OR IGNORE INTO meta (key, value) VALUES ('searchLocale', ?)");
    return (set && set.bind(locale) && set.step() == SQLITE_DONE) || noteFailure();
}

bool HistoryDatabase::rewriteSearchTexts(const HistoryIndex& index)
{
    if (!exec("BEGIN IMMEDIATE;")) {
        return false;
    }
    bool written = true;
    {
        Statement update(m_db, "UPDATE corrections SET search_text = ? WHERE id = ?");
        written = static_cast<bool>(update);
        for (std::size_t i = 0; written && i < index.records().size(); ++i) {
            written = update.bind(index.searchTexts()[i], index.records()[i].id) && update.step() == SQLITE_DONE &&
                      update.reset();
        }
    }
    return written ? exec("COMMIT;") : (exec("ROLLBACK;"), false);
}

bool HistoryDatabase::readRows(std::int64_t upTo, bool refold, HistoryRows& into) const
{
    // Most of opening is copying rows into memory, so a long history is read in two halves at once.
    const char* file = sqlite3_db_filename(m_db, "main");
    const std::int64_t middle = upTo >= 20'000 && file != nullptr && *file != '\0' ? upTo / 2 : 0;
    HistoryRows older;
    bool olderRead = true;
    std::jthread olderHalf; // joined however this function is left
    if (middle > 0) {
        olderHalf = std::jthread([&] { olderRead = readRangeOfFile(file, middle, refold, older); });
    }
    into.records.reserve(static_cast<std::size_t>(upTo)); // room for the older half too
    into.searchTexts.reserve(static_cast<std::size_t>(upTo));
    into.wordCounts.reserve(static_cast<std::size_t>(upTo));
    const bool newerRead = readRange(m_db, middle, upTo, refold, into);
    if (olderHalf.joinable()) {
        olderHalf.join();
    }
    if (!olderRead) { // the second connection failed; this one may still do
        older = {};
        olderRead = readRange(m_db, 0, middle, refold, older);
    }
    if (!newerRead || !olderRead) {
        return false;
    }
    append(into.records, older.records);
    append(into.searchTexts, older.searchTexts);
    append(into.wordCounts, older.wordCounts);
    return true;
}

bool HistoryDatabase::readRowsAbove(std::int64_t above, HistoryRows& into) const
{
    Statement rows(m_db, std::string(selectRecords) + "WHERE id > ? ORDER BY id");
    if (!rows || !rows.bind(above)) {
        return false;
    }
    // Folded here: the writer may have folded in another locale.
    return collect(rows, true, into);
}

std::optional<std::int64_t> HistoryDatabase::insert(const CorrectionRecord& r, int words,
                                                    const std::string& searchText)
{
    Statement insert(m_db, "INSERT INTO corrections (date_ms, provider, model, original, corrected, prompt_tokens, "
                           "completion_tokens, estimated_cost, change_count, source_app, strength, tone, word_count, "
                           "search_text) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    const std::int64_t dateMs =
        std::chrono::duration_cast<std::chrono::milliseconds>(r.date.time_since_epoch()).count();
    if (!insert ||
        !insert.bind(dateMs, r.providerRaw, r.model, r.original, r.corrected, r.promptTokens, r.completionTokens,
                     r.estimatedCost, r.changeCount, r.sourceApp, r.strengthRaw, r.toneRaw, words, searchText) ||
        insert.step() != SQLITE_DONE) {
        noteFailure();
        return std::nullopt;
    }
    return sqlite3_last_insert_rowid(m_db);
}

bool HistoryDatabase::clear()
{
    if (exec("BEGIN IMMEDIATE;"
             "DELETE FROM corrections;"
             "INSERT INTO meta (key, value) VALUES ('clears', 1)"
             " ON CONFLICT (key) DO UPDATE SET value = CAST(value AS INTEGER) + 1;"
             "COMMIT;")) {
        return true;
    }
    if (sqlite3_get_autocommit(m_db) == 0) {
        exec("ROLLBACK;");
    }
    return false;
}

} // namespace vesk::app
