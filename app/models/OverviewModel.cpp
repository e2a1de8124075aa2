#include "app/models/OverviewModel.h"

#include "app/services/ShortcutSettings.h"

#include <QLocale>
#include <QVariantMap>

namespace vesk::app {

OverviewModel::OverviewModel(HistoryStore& store, const ShortcutSettings* shortcuts, Clock clock, Calendar calendar,
                             QObject* parent)
    : QObject(parent), m_store(store), m_shortcuts(shortcuts),
      m_clock(clock ? std::move(clock) : Clock([] { return std::chrono::system_clock::now(); })),
      m_calendar(std::move(calendar))
{
    connect(&m_store, &HistoryStore::changed, this, &OverviewModel::refresh);
    if (m_shortcuts != nullptr) {
        connect(m_shortcuts, &ShortcutSettings::shortcutChanged, this, &OverviewModel::changed);
    }
    refresh();
}

void OverviewModel::refresh()
{
    m_stats = m_store.stats(m_clock(), m_calendar);
    emit changed();
}

QVariantList OverviewModel::figures() const
{
    const QLocale locale;
    const auto card = [&locale](int value, const QString& title) {
        return QVariantMap{{QStringLiteral("value"), locale.toString(value)}, {QStringLiteral("title"), title}};
    };
    return {
        card(m_stats.mistakesFixed,
             m_stats.mistakesFixed == 1 ? tr("Mistake fixed") : tr("Mistakes fixed")),
        card(m_stats.mistakesThisWeek, tr("This week")),
        card(m_stats.wordsPolished, tr("Words polished")),
        card(m_stats.activeDaysThisMonth, tr("Active days")),
    };
}

QString OverviewModel::emptyMessage() const
{
    std::optional<KeyCombination> shortcut;
    if (m_shortcuts != nullptr) {
        shortcut = m_shortcuts->shortcut(QString::fromLatin1(ShortcutSettings::fixGrammar));
    }
    return tr("Select text in any app and press %1 to fix it.")
        .arg(shortcut ? shortcut->displayText() : tr("your shortcut"));
}

} // namespace vesk::app
