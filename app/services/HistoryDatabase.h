#pragma once

// The history's SQLite file: one row per accepted correction, plus a few facts in a meta table (the
// locale the search texts were folded in, how often the history was cleared). Every SQLite result is
// checked; a failure leaves a reason behind (problem(), errorMessage()).

#include "app/services/HistoryIndex.h"

#include <cstdint>
#include <optional>
#include <string>

struct sqlite3;

namespace vesk::app {

class HistoryDatabase
{
public:
    static constexpr int schemaVersion = 1;

    HistoryDatabase() = default;
    ~HistoryDatabase();
    HistoryDatabase(const HistoryDatabase&) = delete;
    HistoryDatabase& operator=(const HistoryDatabase&) = delete;

    // Why the last open or write failed.
    enum class Problem {
        none,
        unusable, // not a history, or it can't be opened or created
        newer,    // written by a newer version of Vesk; left as it is
        readOnly, // the file or its folder can't be written
        full      // the disk (or the user's quota) is full
    };
    // readOnly: a file that can't be written is read as it is; readWrite: such a file fails.
    enum class Access { readOnly, readWrite };

    // Opens the file at `path`, creating and migrating it when it can be written. ":memory:" gives a
    // database that lives as long as this object.
    bool open(const std::string& path, Access access);
    void close();
    [[nodiscard]] bool isOpen() const { return m_db != nullptr; }
    // SQLite's words for the last failure.
    [[nodiscard]] std::string errorMessage() const;
    [[nodiscard]] Problem problem() const { return m_problem; }

    // SQLite's count of other connections' commits, how often the history was cleared and the highest row
    // id; nothing when the query failed.
    [[nodiscard]] std::optional<std::int64_t> dataVersion() const;
    [[nodiscard]] std::optional<std::int64_t> clears() const;
    [[nodiscard]] std::optional<std::int64_t> lastId() const;

    // The locale the stored search texts were folded in, if the file says.
    [[nodiscard]] std::optional<std::string> foldLocale() const;
    // Records the fold locale; unless `replace`, only when none is recorded yet.
    bool setFoldLocale(const std::string& locale, bool replace);
    bool rewriteSearchTexts(const HistoryIndex& index);

    // The rows with ids up to `upTo`, newest first by id, their search texts folded again if `refold`. A long
    // history is read in two halves at once, the older one through a second connection.
    bool readRows(std::int64_t upTo, bool refold, HistoryRows& into) const;
    // Rows above `above`, oldest first, search texts folded in this process.
    bool readRowsAbove(std::int64_t above, HistoryRows& into) const;

    // The new row's id, or nothing when it was not written.
    std::optional<std::int64_t> insert(const CorrectionRecord& record, int words, const std::string& searchText);
    // Deletes every row and counts the clear up.
    bool clear();

private:
    bool exec(const char* sql);
    // Keeps the cause of the failure SQLite reports now; always false.
    bool noteFailure();
    bool hasCurrentSchema();
    bool useWriteAheadLog();
    bool migrate();

    sqlite3* m_db = nullptr;
    Problem m_problem = Problem::none;
};

} // namespace vesk::app
