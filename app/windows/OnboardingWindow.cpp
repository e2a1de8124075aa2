#include "app/windows/OnboardingWindow.h"

#include "app/models/Appearance.h"
#include "app/models/ProviderConnection.h"

#include <QQuickView>

namespace vesk::app {

OnboardingWindow::OnboardingWindow(AppSettings& settings, HistoryStore& history, ProviderConnection& connection,
                                   const ShortcutSettings* shortcuts, OnboardingModel::Desktop desktop,
                                   DesktopAppearance& appearance, QObject* parent)
    : QObject(parent), m_desktopLink(appearance), m_settings(settings), m_history(history), m_connection(connection),
      m_shortcuts(shortcuts), m_desktop(std::move(desktop)),
      m_window(QStringLiteral("OnboardingView"), [](QQuickView& view) {
          view.setTitle(QStringLiteral("Welcome to Vesk"));
          view.setMinimumSize(QSize(560, 620));
          view.setMaximumSize(QSize(560, 620));
          view.resize(560, 620);
      })
{
}

OnboardingWindow::~OnboardingWindow() = default;

void OnboardingWindow::show()
{
    // Already open: brought forward as it is, so a press of the shortcut never throws away where the user is.
    // Otherwise a fresh guide, from the first page.
    if (!isVisible()) {
        auto model = std::make_unique<OnboardingModel>(m_settings, m_history, m_shortcuts, m_desktop);
        connect(model.get(), &OnboardingModel::finished, this, [this] {
            close();
            emit finished();
        });
        // The last guide's window goes before its model does.
        m_window.open({{QStringLiteral("onboarding"), QVariant::fromValue(model.get())},
                       {QStringLiteral("connection"), QVariant::fromValue(&m_connection)}});
        m_model = std::move(model);
    }
    QQuickView& view = *m_window.window();
    view.show();
    view.raise();
    view.requestActivate();
}

bool OnboardingWindow::isVisible() const
{
    return m_window.isVisible();
}

QQuickWindow* OnboardingWindow::window() const
{
    return m_window.window();
}

void OnboardingWindow::close()
{
    m_window.close();
}

} // namespace vesk::app
