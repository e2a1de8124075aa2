#include "app/OnboardingWindow.h"

#include <QQmlContext>
#include <QQuickView>

namespace vesk::app {

OnboardingWindow::OnboardingWindow(QObject* parent) : QObject(parent) {}

OnboardingWindow::~OnboardingWindow() = default;

void OnboardingWindow::show(bool hasKey, bool canPostInput, const QString& limitation)
{
    m_hasKey = hasKey;
    m_canPostInput = canPostInput;
    m_limitation = limitation;
    m_view = std::make_unique<QQuickView>();
    m_view->setTitle(QStringLiteral("Welcome to Vesk"));
    m_view->setResizeMode(QQuickView::SizeRootObjectToView);
    m_view->setMinimumSize(QSize(560, 620));
    m_view->setMaximumSize(QSize(560, 620));
    m_view->rootContext()->setContextProperty(QStringLiteral("onboarding"), this);
    m_view->setSource(QUrl(QStringLiteral("qrc:/vesk/views/OnboardingView.qml")));
    m_view->resize(560, 620);
    m_view->show();
    m_view->raise();
    m_view->requestActivate();
    emit stateChanged();
}

bool OnboardingWindow::isVisible() const
{
    return m_view && m_view->isVisible();
}

void OnboardingWindow::close()
{
    if (m_view) {
        m_view->hide();
    }
}

} // namespace vesk::app
