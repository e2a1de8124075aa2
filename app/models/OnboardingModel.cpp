#include "app/models/OnboardingModel.h"

#include "app/services/AppSettings.h"
#include "app/services/HistoryStore.h"
#include "app/services/ShortcutSettings.h"
#include "app/common/Utf8.h"

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
    return tr("your shortcut");
}

QString OnboardingModel::shortcutNote() const
{
    return m_shortcuts != nullptr ? m_shortcuts->registrationError(QString::fromLatin1(ShortcutSettings::fixGrammar))
                                  : QString();
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

void OnboardingModel::setPracticeText(const QString& text)
{
    if (m_practiceText == text) {
        return;
    }
    m_practiceText = text;
    emit practiceTextChanged();
    checkPractice();
}

// The practice counts once the field holds the accepted correction of the sentence: the history says the
// flow ran to the end (whether through the review panel or straight away), the field that the paste landed.
void OnboardingModel::checkPractice()
{
    if (m_practiced || m_history.records().empty()) {
        return;
    }
    const CorrectionRecord& newest = m_history.records().front();
    if (fromUtf8(newest.original).trimmed() == practiceSentence() &&
        fromUtf8(newest.corrected).trimmed() == m_practiceText.trimmed()) {
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
