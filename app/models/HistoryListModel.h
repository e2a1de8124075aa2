#pragma once

// The history as a list for QML: the overview's recent rows and the activity list, newest first,
// filtered by the search rule on every keystroke and updated whenever the store changes.

#include "app/services/HistoryStore.h"
#include "core/Calendar.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>
#include <QString>
#include <QVariantMap>
#include <functional>
#include <vector>

namespace vesk::app {

class HistoryListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by its window")
    // Trimmed, case and accents ignored; blank shows everything.
    Q_PROPERTY(QString query READ query WRITE setQuery NOTIFY queryChanged)
    // The most rows shown, 0 for no limit.
    Q_PROPERTY(int limit READ limit WRITE setLimit NOTIFY limitChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    // Every record in the history, whatever the query: "1 correction", "12 corrections".
    Q_PROPERTY(int totalCount READ totalCount NOTIFY countChanged)
    Q_PROPERTY(QString countText READ countText NOTIFY countChanged)
    Q_PROPERTY(QString clearMessage READ clearMessage NOTIFY countChanged)

public:
    enum Role {
        RecordIdRole = Qt::UserRole + 1,
        TitleRole,  // the trimmed correction, or "Untitled correction"
        FixesRole,  // "1 fix", "3 fixes"
        TimeRole,   // "Today at 3:04 PM"
        SourceRole, // "From Mousepad", "From Write"
        OriginalRole,
        CorrectedRole,
        SettingsRole, // "Polish · Preserve original", or empty
        DetailRole,   // "gpt-4o-mini · 1,234 tokens · $0.0042"
    };
    Q_ENUM(Role)

    using Clock = std::function<TimePoint()>;

    explicit HistoryListModel(HistoryStore& store, Clock clock = {}, Calendar calendar = Calendar::current(),
                              QObject* parent = nullptr);

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    [[nodiscard]] const QString& query() const { return m_query; }
    void setQuery(const QString& query);
    [[nodiscard]] int limit() const { return m_limit; }
    void setLimit(int limit);
    [[nodiscard]] int count() const { return rowCount(); }
    [[nodiscard]] int totalCount() const;
    [[nodiscard]] QString countText() const;
    [[nodiscard]] QString clearMessage() const;

    // The row showing the record, or -1 when it is not shown.
    Q_INVOKABLE int rowOf(qint64 recordId) const;
    // Every role of one record by name (for the detail pane); empty when the record is gone.
    Q_INVOKABLE QVariantMap record(qint64 recordId) const;
    // Redraws the times, which say "Today" or "Yesterday" relative to now.
    Q_INVOKABLE void refreshTimes();

signals:
    void queryChanged();
    void limitChanged();
    void countChanged();

private:
    void rebuild();
    [[nodiscard]] QVariant value(const CorrectionRecord& record, int role) const;

    HistoryStore& m_store;
    Clock m_clock;
    Calendar m_calendar;
    QString m_query;
    int m_limit = 0;
    std::vector<std::size_t> m_rows; // indexes into the store's records
};

} // namespace vesk::app
