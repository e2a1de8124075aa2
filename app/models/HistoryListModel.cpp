#include "app/models/HistoryListModel.h"

#include "app/common/Utf8.h"
#include "core/HistoryFormat.h"

namespace vesk::app {

HistoryListModel::HistoryListModel(HistoryStore& store, Clock clock, Calendar calendar, QObject* parent)
    : QAbstractListModel(parent), m_store(store),
      m_clock(clock ? std::move(clock) : Clock([] { return std::chrono::system_clock::now(); })),
      m_calendar(std::move(calendar))
{
    connect(&m_store, &HistoryStore::changed, this, &HistoryListModel::rebuild);
    rebuild();
}

int HistoryListModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant HistoryListModel::data(const QModelIndex& index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) {
        return {};
    }
    return value(m_store.records()[m_rows[static_cast<std::size_t>(index.row())]], role);
}

QVariant HistoryListModel::value(const CorrectionRecord& record, int role) const
{
    switch (role) {
    case RecordIdRole:
        return QVariant::fromValue<qint64>(record.id);
    case Qt::DisplayRole:
    case TitleRole:
        return fromUtf8(historyformat::title(record));
    case FixesRole:
        return fromUtf8(record.fixesLabel());
    case TimeRole:
        return fromUtf8(historyformat::timeLabel(record.date, m_clock(), m_calendar));
    case SourceRole:
        return fromUtf8(historyformat::sourceLine(record));
    case OriginalRole:
        return fromUtf8(record.original);
    case CorrectedRole:
        return fromUtf8(record.corrected);
    case SettingsRole:
        return fromUtf8(record.settingsLabel().value_or(std::string()));
    case DetailRole:
        return fromUtf8(historyformat::detailLine(record));
    default:
        return {};
    }
}

QHash<int, QByteArray> HistoryListModel::roleNames() const
{
    return {
        {RecordIdRole, "recordId"},   {TitleRole, "title"},       {FixesRole, "fixes"},
        {TimeRole, "time"},           {SourceRole, "source"},     {OriginalRole, "original"},
        {CorrectedRole, "corrected"}, {SettingsRole, "settings"}, {DetailRole, "detail"},
    };
}

void HistoryListModel::setQuery(const QString& query)
{
    if (m_query == query) {
        return;
    }
    m_query = query;
    emit queryChanged();
    rebuild();
}

void HistoryListModel::setLimit(int limit)
{
    limit = std::max(limit, 0);
    if (m_limit == limit) {
        return;
    }
    m_limit = limit;
    emit limitChanged();
    rebuild();
}

int HistoryListModel::totalCount() const
{
    return static_cast<int>(m_store.records().size());
}

QString HistoryListModel::countText() const
{
    return fromUtf8(historyformat::countLabel(m_store.records().size()));
}

QString HistoryListModel::clearMessage() const
{
    return fromUtf8(historyformat::clearMessage(m_store.records().size()));
}

int HistoryListModel::rowOf(qint64 recordId) const
{
    const auto& records = m_store.records();
    for (std::size_t row = 0; row < m_rows.size(); ++row) {
        if (records[m_rows[row]].id == recordId) {
            return static_cast<int>(row);
        }
    }
    return -1;
}

QVariantMap HistoryListModel::record(qint64 recordId) const
{
    const CorrectionRecord* found = m_store.find(recordId);
    if (found == nullptr) {
        return {};
    }
    QVariantMap map;
    const auto names = roleNames();
    for (auto it = names.begin(); it != names.end(); ++it) {
        map.insert(QString::fromLatin1(it.value()), value(*found, it.key()));
    }
    return map;
}

void HistoryListModel::refreshTimes()
{
    if (!m_rows.empty()) {
        emit dataChanged(index(0), index(rowCount() - 1), {TimeRole});
    }
}

// A change to the store may add, remove or reorder anything, so the rows are rebuilt; the search runs
// over texts the store folded once, which keeps a keystroke well inside a frame at 100,000 records.
void HistoryListModel::rebuild()
{
    beginResetModel();
    m_rows = m_store.search(m_query);
    if (m_limit > 0 && m_rows.size() > static_cast<std::size_t>(m_limit)) {
        m_rows.resize(static_cast<std::size_t>(m_limit));
    }
    endResetModel();
    emit countChanged();
}

} // namespace vesk::app
