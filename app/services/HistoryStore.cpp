#include "app/services/HistoryStore.h"
#include "app/common/Logging.h"
#include "app/services/PrivateFiles.h"

#include "core/UnicodeText.h"

#include <QStandardPaths>
#include <algorithm>
#include <unicode/locid.h>

namespace vesk::app {

namespace {

// The folding of the search column depends on the user's locale; a change of locale refolds on load.
std::string currentLocale()
{
    return icu::Locale::getDefault().getName();
}

} // namespace

HistoryStore::HistoryStore(QString path, Use use, Clock clock, QObject* parent)
    : QObject(parent), m_use(use), m_clock(clock ? std::move(clock) : [] { return std::chrono::system_clock::now(); })
{
    if (path.isEmpty()) {
        const QString dir = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
        makePrivateDirectory(dir);
        path = dir + QStringLiteral("/history.sqlite3");
    }
    m_persistent = open(path);
    if (!m_persistent) {
        m_problem = m_database.problem();
        qCCritical(lcHistory).noquote() << QStringLiteral("Persistent store failed (%1); using in-memory.")
                                               .arg(QString::fromStdString(m_database.errorMessage()));
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

HistoryStore::~HistoryStore() = default;

bool HistoryStore::open(const QString& path)
{
    // SQLite gives the log and its index the file's permissions.
    if (path != QStringLiteral(":memory:")) {
        makePrivateFile(path);
        makePrivateFile(path + QStringLiteral("-wal"), false);
        makePrivateFile(path + QStringLiteral("-shm"), false);
    }
    const auto access = m_use == Use::read ? HistoryDatabase::Access::readOnly : HistoryDatabase::Access::readWrite;
    if (!m_database.open(path.toStdString(), access)) {
        return false;
    }
    if (m_use != Use::append) {
        return load();
    }
    // Adding a row needs none of the others, only the locale their search texts were folded in.
    m_foldLocale = m_database.foldLocale().value_or(currentLocale());
    return m_database.setFoldLocale(m_foldLocale, false);
}

bool HistoryStore::load()
{
    const auto dataVersion = m_database.dataVersion();
    const auto clears = m_database.clears();
    if (!dataVersion || !clears) {
        return false;
    }
    m_dataVersion = *dataVersion;
    m_clears = *clears;
    const std::optional<std::string> stored = m_database.foldLocale();
    const bool refold = stored && *stored != currentLocale();
    m_foldLocale = currentLocale();
    if (!stored && m_use != Use::read && !m_database.setFoldLocale(m_foldLocale, false)) {
        return false;
    }
    // Ids only grow between clears, and rows are never deleted one by one, so the rows up to the highest id
    // are all there is; any written meanwhile are taken in at the next look.
    const auto lastId = m_database.lastId();
    HistoryRows rows;
    if (!lastId || !m_database.readRows(*lastId, refold, rows)) {
        return false;
    }
    m_index.assign(std::move(rows));
    m_lastSeenId = *lastId;
    if (refold && m_use == Use::app) {
        if (!m_database.setFoldLocale(m_foldLocale, true) ||
            (!m_index.records().empty() && !m_database.rewriteSearchTexts(m_index))) {
            qCWarning(lcHistory) << "The search texts couldn't be stored folded again; they are next launch";
        }
    }
    return true;
}

// Rows other processes added since the last look, placed by date among those held. Says whether there
// were any.
bool HistoryStore::loadNewRows()
{
    HistoryRows rows;
    if (!m_database.readRowsAbove(m_lastSeenId, rows)) {
        return false;
    }
    bool added = false;
    for (std::size_t i = 0; i < rows.records.size(); ++i) {
        CorrectionRecord& r = rows.records[i];
        m_lastSeenId = std::max(m_lastSeenId, r.id);
        if (std::find(m_ownIds.begin(), m_ownIds.end(), r.id) != m_ownIds.end()) {
            continue;
        }
        m_index.add(std::move(r), std::move(rows.searchTexts[i]), rows.wordCounts[i]);
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
    const auto version = m_database.dataVersion();
    if (!version || *version == m_dataVersion) {
        return;
    }
    const auto clears = m_database.clears();
    if (!clears) {
        return; // looked at again next time
    }
    m_dataVersion = *version;
    if (*clears != m_clears) {
        // Cleared elsewhere, perhaps with new rows since: start again from the file.
        forget();
        if (!load()) {
            m_dataVersion = -1; // looked at again next time
        }
        emit cleared();
        emit changed();
    } else if (loadNewRows()) {
        emit changed();
    }
}

void HistoryStore::forget()
{
    m_index.clear();
    m_lastSeenId = 0;
    m_ownIds.clear();
}

bool HistoryStore::record(const AcceptedCorrection& accepted)
{
    // Dated to the millisecond the file keeps, so that this record sorts the same as when read back.
    CorrectionRecord r = CorrectionRecord::from(accepted, std::chrono::floor<std::chrono::milliseconds>(m_clock()));
    const int words = static_cast<int>(unicode::countWords(r.corrected));
    std::string searchText = r.searchText(m_foldLocale);
    const std::optional<std::int64_t> id = m_database.insert(r, words, searchText);
    if (id) {
        r.id = *id;
        // Nothing can have been written between the last row seen and this one unless its id leaves a gap.
        if (r.id == m_lastSeenId + 1) {
            m_lastSeenId = r.id;
        } else if (m_persistent) {
            m_ownIds.push_back(r.id);
        }
    } else {
        if (m_persistent) {
            m_problem = m_database.problem();
        }
        qCCritical(lcHistory).noquote()
            << QStringLiteral("History save failed: %1").arg(QString::fromStdString(m_database.errorMessage()));
        // Still shown until quit, under an id no stored row can have, so the views can tell it apart.
        r.id = --m_lastUnsavedId;
    }
    m_index.add(std::move(r), std::move(searchText), words);
    emit changed();
    return id && m_persistent;
}

void HistoryStore::clearAll()
{
    m_database.clear();
    m_clears = m_database.clears().value_or(m_clears);
    forget();
    m_dataVersion = -1; // the next look takes in whatever the file still holds, should the clear have failed
    emit cleared();
    emit changed();
}

std::string HistoryStore::problem() const
{
    switch (m_problem) {
    case HistoryDatabase::Problem::none:
        return {};
    case HistoryDatabase::Problem::newer:
        return "The history was written by a newer version of Vesk; update Vesk to use it. The file is left as it is.";
    case HistoryDatabase::Problem::readOnly:
        return "The history file is read-only, so Vesk can't add to it.";
    case HistoryDatabase::Problem::full:
        return "The disk holding the history is full; free some space and Vesk saves again.";
    case HistoryDatabase::Problem::unusable:
        break;
    }
    return "The history file in Vesk's data folder can't be read or created.";
}

std::vector<std::size_t> HistoryStore::search(const QString& query) const
{
    return m_index.search(foldedQuery(query.toStdString()));
}

} // namespace vesk::app
