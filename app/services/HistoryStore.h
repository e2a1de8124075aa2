#pragma once

// Every accepted correction: the SQLite file (HistoryDatabase) and what the views read from memory
// (HistoryIndex), kept in step. Corrections recorded or a history cleared by another process (`vesk
// correct` while the app runs) show up within a couple of seconds.

#include "app/services/HistoryDatabase.h"
#include "app/services/HistoryIndex.h"
#include "core/AcceptedCorrection.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <chrono>
#include <cstdint>
#include <functional>
#include <vector>

namespace vesk::app {

class HistoryStore : public QObject
{
    Q_OBJECT

public:
    static constexpr int schemaVersion = HistoryDatabase::schemaVersion;
    // How often the file is checked for what other processes wrote.
    static constexpr std::chrono::milliseconds refreshInterval{1500};
    using Clock = std::function<TimePoint()>;

    // What a store is opened for. The app holds the whole history and follows other processes' writes;
    // a terminal command either only adds a correction (nothing is read) or only reads (nothing in the
    // file is rewritten, even when the texts are folded again for this process's locale).
    enum class Use { app, append, read };

    // Opens (creating when needed) the store at `path`, or at history.sqlite3 in the app's data
    // directory. A store that cannot be opened is left untouched and the history lives in memory until
    // the app quits. New records are dated by `clock` (the system clock when empty).
    explicit HistoryStore(QString path = {}, Use use = Use::app, Clock clock = {}, QObject* parent = nullptr);
    ~HistoryStore() override;

    // Newest first.
    [[nodiscard]] const std::vector<CorrectionRecord>& records() const { return m_index.records(); }
    [[nodiscard]] bool isPersistent() const { return m_persistent; }
    // Why the file could not be opened, or the last record not saved, in a sentence for the user; empty
    // when nothing went wrong.
    [[nodiscard]] std::string problem() const;
    // The record with the store's row id, or null when there is none (any more).
    [[nodiscard]] const CorrectionRecord* find(std::int64_t id) const { return m_index.find(id); }

    // Adds the accepted correction, dated now, and says whether it reached the file. A failed save is
    // logged; the record still shows until quit.
    bool record(const AcceptedCorrection& accepted);
    void clearAll();

    // Takes in what other processes recorded or cleared since the last look and emits changed() if that
    // changed the records. Runs every refreshInterval; when nothing was written it costs one query.
    void refresh();

    // Indexes into records() of those matching the query (trimmed; case and accents ignored in the user's
    // locale), newest first; every record when the query is blank.
    [[nodiscard]] std::vector<std::size_t> search(const QString& query) const;
    // Words of each record's correction, in the order of records().
    [[nodiscard]] const std::vector<int>& wordCounts() const { return m_index.wordCounts(); }
    // The overview's four figures, from the stored word counts rather than by counting again.
    [[nodiscard]] HistoryStats stats(TimePoint now, const Calendar& calendar) const
    {
        return m_index.stats(now, calendar);
    }

signals:
    void changed();
    // The history was emptied (here or by another process): record ids seen before may come back for
    // other corrections, so nothing should hold on to one.
    void cleared();

private:
    bool open(const QString& path);
    bool load();
    bool loadNewRows();
    void forget();

    Use m_use = Use::app;
    Clock m_clock;
    HistoryDatabase m_database;
    HistoryIndex m_index;
    bool m_persistent = false;
    HistoryDatabase::Problem m_problem = HistoryDatabase::Problem::none;
    // The locale the stored search texts are folded in; new rows are folded the same way.
    std::string m_foldLocale;
    std::int64_t m_lastUnsavedId = 0;

    // What the last look at the file saw: SQLite's count of other connections' commits, the number of
    // times the history was cleared, and the highest row id. Ids only grow between clears, so rows above
    // that id are exactly the new ones.
    std::int64_t m_dataVersion = 0;
    std::int64_t m_clears = 0;
    std::int64_t m_lastSeenId = 0;
    // Rows this store wrote above m_lastSeenId while another process wrote below them; already held.
    std::vector<std::int64_t> m_ownIds;
    QTimer m_refreshTimer;
};

} // namespace vesk::app
