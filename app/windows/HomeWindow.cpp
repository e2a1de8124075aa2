#include "app/windows/HomeWindow.h"
#include "app/common/Logging.h"

#include "app/models/ComposerModel.h"
#include "app/desktop/CorrectionEnvironment.h"
#include "app/models/HistoryActions.h"
#include "app/models/HistoryListModel.h"
#include "app/models/HomeModel.h"
#include "app/models/OverviewModel.h"
#include "app/models/SettingsModel.h"
#include "app/platform/DesktopAppearance.h"

#include <QLoggingCategory>
#include <QQmlContext>
#include <QQmlError>
#include <QQuickView>


namespace vesk::app {

struct HomeWindow::Private
{
    Private(HomeWindow& window, CorrectionEnvironment& environment, HistoryStore& history,
            ProviderConnection& connection, ShortcutSettings& shortcuts, DesktopAppearance& desktop)
        : appearance(desktop), composer(
              [&environment](std::string original) {
                  return environment.makeSession(CorrectionSession::Editing{}, std::move(original), std::nullopt);
              },
              &environment.settings()),
          overview(history, &shortcuts), recent(history), activity(history),
          actions(history, home, [&window](const ComposerDraft& draft) { window.openComposer(draft); }),
          settings(environment.settings(), connection, shortcuts)
    {
        recent.setLimit(recentRows);
    }

    static constexpr int recentRows = 6;

    void ensureView();

    DesktopAppearance& appearance;
    HomeModel home;
    ComposerModel composer;
    OverviewModel overview;
    HistoryListModel recent;
    HistoryListModel activity;
    HistoryActions actions;
    SettingsModel settings;
    std::unique_ptr<QQuickView> view;
};

void HomeWindow::Private::ensureView()
{
    if (view) {
        return;
    }
    view = std::make_unique<QQuickView>();
    view->setTitle(QStringLiteral("Vesk"));
    view->setResizeMode(QQuickView::SizeRootObjectToView);
    view->setMinimumSize(QSize(820, 540));
    view->resize(920, 620);
    view->setColor(QColor(QStringLiteral("#1c1c1e")));
    view->rootContext()->setContextProperty(QStringLiteral("home"), &home);
    view->rootContext()->setContextProperty(QStringLiteral("composer"), &composer);
    view->rootContext()->setContextProperty(QStringLiteral("overview"), &overview);
    view->rootContext()->setContextProperty(QStringLiteral("recent"), &recent);
    view->rootContext()->setContextProperty(QStringLiteral("activity"), &activity);
    view->rootContext()->setContextProperty(QStringLiteral("historyActions"), &actions);
    view->rootContext()->setContextProperty(QStringLiteral("settings"), &settings);
    view->rootContext()->setContextProperty(QStringLiteral("reduceMotion"), appearance.prefersReducedMotion());
    view->setSource(QUrl(QStringLiteral("qrc:/vesk/views/HomeView.qml")));
    for (const QQmlError& error : view->errors()) {
        qCWarning(lcUi) << "home view:" << error.toString();
    }
}

HomeWindow::HomeWindow(CorrectionEnvironment& environment, HistoryStore& history, ProviderConnection& connection,
                       ShortcutSettings& shortcuts, DesktopAppearance& appearance, QObject* parent)
    : QObject(parent), d(std::make_unique<Private>(*this, environment, history, connection, shortcuts, appearance))
{
}

HomeWindow::~HomeWindow() = default;

void HomeWindow::show(HomeSection section)
{
    d->home.select(section);
    d->ensureView();
    d->view->show();
    d->view->raise();
    d->view->requestActivate();
}

void HomeWindow::openComposer(const ComposerDraft& draft)
{
    show(HomeSection::composer);
    d->composer.load(draft);
}

bool HomeWindow::isVisible() const
{
    return d->view && d->view->isVisible();
}

QQuickWindow* HomeWindow::window() const
{
    return d->view.get();
}

} // namespace vesk::app
