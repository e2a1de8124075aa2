#include "app/windows/OnboardingWindow.h"
#include "app/common/Logging.h"

#include "app/models/ProviderConnection.h"
#include "app/platform/DesktopAppearance.h"

#include <QLoggingCategory>
#include <QQmlContext>
#include <QQmlError>
#include <QQuickView>


namespace vesk::app {

OnboardingWindow::OnboardingWindow(AppSettings& settings, HistoryStore& history, ProviderConnection& connection,
                                   const ShortcutSettings* shortcuts, OnboardingModel::Desktop desktop,
                                   DesktopAppearance& appearance, QObject* parent)
    : QObject(parent), m_settings(settings), m_history(history), m_connection(connection), m_shortcuts(shortcuts),
      m_desktop(std::move(desktop)), m_appearance(appearance)
{
}

OnboardingWindow::~OnboardingWindow() = default;

void OnboardingWindow::show()
{
    // Already open: brought forward as it is, so a press of the shortcut never throws away where the user is.
    if (isVisible()) {
        m_view->raise();
        m_view->requestActivate();
        return;
    }
    // Otherwise a fresh guide, from the first page.
    m_view.reset();
    m_model = std::make_unique<OnboardingModel>(m_settings, m_history, m_shortcuts, m_desktop);
    connect(m_model.get(), &OnboardingModel::finished, this, [this] {
        close();
        emit finished();
    });
    m_view = std::make_unique<QQuickView>();
    m_view->setTitle(QStringLiteral("Welcome to Vesk"));
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    m_view->setMinimumSize(QSize(560, 620));
    m_view->setMaximumSize(QSize(560, 620));
    m_view->setColor(QColor(QStringLiteral("#1c1c1e")));
    m_view->rootContext()->setContextProperty(QStringLiteral("onboarding"), m_model.get());
    m_view->rootContext()->setContextProperty(QStringLiteral("connection"), &m_connection);
    m_view->rootContext()->setContextProperty(QStringLiteral("reduceMotion"), m_appearance.prefersReducedMotion());
    m_view->setSource(QUrl(QStringLiteral("qrc:/vesk/views/OnboardingView.qml")));
    for (const QQmlError& error : m_view->errors()) {
        qCWarning(lcUi) << "onboarding view:" << error.toString();
    }
    m_view->resize(560, 620);
    m_view->show();
    m_view->raise();
    m_view->requestActivate();
}

bool OnboardingWindow::isVisible() const
{
    return m_view && m_view->isVisible();
}

QQuickWindow* OnboardingWindow::window() const
{
    return m_view.get();
}

void OnboardingWindow::close()
{
    if (m_view) {
        m_view->hide();
    }
}

} // namespace vesk::app
