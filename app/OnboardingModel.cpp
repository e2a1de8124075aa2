#include "app/OnboardingModel.h"

#include "app/AppSettings.h"
#include "app/HistoryStore.h"
#include "app/ShortcutSettings.h"

#include <algorithm>

namespace vesk::app {

OnboardingModel::OnboardingModel(AppSettings& settings, HistoryStore& history, const ShortcutSettings* shortcuts,
                                 Desktop desktop, QObject* parent)
    : QObject(parent), m_settings(settings), m_history(history), m_shortcuts(shortcuts), m_desktop(std::move(desktop)),
      m_canPostInput(m_desktop.canPostInput && m_desktop.canPostInput())
{
    connect(&m_history, &HistoryStore::changed, this, &OnboardingModel::checkPractice);
}

QString OnboardingModel::shortcutText() const
{
    if (m_shortcuts != nullptr) {
        if (const auto shortcut = m_shortcuts->shortcut(QString::fromLatin1(ShortcutSettings::fixGrammar))) {
            return shortcut->displayText();
        }
    }
    return QStringLiteral("your shortcut");
}

// Misspelt on purpose, with a mistake of each common kind, so that any strength has something to fix.
QString OnboardingModel::practiceSentence()
{
    return QStringLiteral("Their going too the libary tomorow, and they wants to borrow some book.");
}

void OnboardingModel::next()
{
    setPage(std::min(m_page + 1, static_cast<int>(donePage)));
}

void OnboardingModel::back()
{
    setPage(std::max(m_page - 1, static_cast<int>(providerPage)));
}

void OnboardingModel::setPage(int page)
{
    if (m_page == page) {
        return;
    }
    m_page = page;
    emit pageChanged();
    if (m_page == desktopPage) {
        refreshDesktop();
    }
}

void OnboardingModel::refreshDesktop()
{
    const bool can = m_desktop.canPostInput && m_desktop.canPostInput();
    if (can != m_canPostInput) {
        m_canPostInput = can;
        emit canPostInputChanged();
    }
}

// The practice counts once the sentence comes back corrected and accepted: the flow records exactly
// that, whichever way the user went (review panel or straight replacement).
void OnboardingModel::checkPractice()
{
    if (m_practiced || m_history.records().empty()) {
        return;
    }
    const CorrectionRecord& newest = m_history.records().front();
    if (QString::fromStdString(newest.original).trimmed() == practiceSentence()) {
        m_practiced = true;
        emit practicedChanged();
    }
}

void OnboardingModel::finish()
{
    m_settings.setHasOnboarded(true);
    emit finished();
}

} // namespace vesk::app
