#pragma once

// The overview's figures and empty state, recomputed from the history whenever it changes.

#include "app/services/HistoryStore.h"
#include "core/Calendar.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>
#include <QString>
#include <QVariantList>
#include <functional>

namespace vesk::app {

class ShortcutSettings;

class OverviewModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("owned by its window")
    Q_PROPERTY(bool isEmpty READ isEmpty NOTIFY changed)
    // Four cards in order, each {value, title}: mistakes fixed, this week, words polished, active days.
    Q_PROPERTY(QVariantList figures READ figures NOTIFY changed)
    // "Select text in any app and press Alt+G to fix it."
    Q_PROPERTY(QString emptyMessage READ emptyMessage NOTIFY changed)

public:
    using Clock = std::function<TimePoint()>;

    // `shortcuts` may be null (no shortcut recorded); it must outlive the model.
    explicit OverviewModel(HistoryStore& store, const ShortcutSettings* shortcuts = nullptr, Clock clock = {},
                           Calendar calendar = Calendar::current(), QObject* parent = nullptr);

    [[nodiscard]] bool isEmpty() const { return m_store.records().empty(); }
    [[nodiscard]] QVariantList figures() const;
    [[nodiscard]] QString emptyMessage() const;

    // Figures count "this week" and "this month" from now, so they are recomputed when shown.
    Q_INVOKABLE void refresh();

signals:
    void changed();

private:
    HistoryStore& m_store;
    const ShortcutSettings* m_shortcuts;
    Clock m_clock;
    Calendar m_calendar;
    HistoryStats m_stats;
};

} // namespace vesk::app
