#include "app/windows/HomeWindow.h"

#include "app/models/Appearance.h"
#include "app/models/ComposerModel.h"
#include "app/models/HistoryActions.h"
#include "app/models/HistoryListModel.h"
#include "app/models/HomeModel.h"
#include "app/models/OverviewModel.h"
#include "app/models/SettingsModel.h"
#include "app/services/CorrectionEnvironment.h"
#include "app/windows/QmlWindow.h"

#include <QQuickView>

namespace vesk::app {

struct HomeWindow::Private
{
    Private(HomeWindow& owner, CorrectionEnvironment& environment, HistoryStore& history,
            ProviderConnection& connection, ShortcutSettings& shortcuts, DesktopAppearance& desktop)
        : desktopLink(desktop),
          composer(
              [&environment](std::string original) {
                  return environment.makeSession(CorrectionSession::Editing{}, std::move(original), std::nullopt);
              },
              &environment.settings()),
          overview(history, &shortcuts), recent(history), activity(history),
          actions(history, home, [&owner](const ComposerDraft& draft) { owner.openComposer(draft); }),
          settings(environment.settings(), connection, shortcuts)
    {
        recent.setLimit(recentRows);
    }

    static constexpr int recentRows = 6;

    QVariantMap viewProperties();

    Appearance::DesktopLink desktopLink;
    HomeModel home;
    ComposerModel composer;
    OverviewModel overview;
    HistoryListModel recent;
    HistoryListModel activity;
    HistoryActions actions;
    SettingsModel settings;
    QmlWindow window{QStringLiteral("HomeView"), [](QQuickView& view) {
                         view.setTitle(QStringLiteral("Vesk"));
                         view.setMinimumSize(QSize(820, 540));
                         view.resize(920, 620);
                     }};
};

QVariantMap HomeWindow::Private::viewProperties()
{
    return {{QStringLiteral("home"), QVariant::fromValue(&home)},
            {QStringLiteral("composer"), QVariant::fromValue(&composer)},
            {QStringLiteral("overview"), QVariant::fromValue(&overview)},
            {QStringLiteral("recent"), QVariant::fromValue(&recent)},
            {QStringLiteral("activity"), QVariant::fromValue(&activity)},
            {QStringLiteral("historyActions"), QVariant::fromValue(&actions)},
            {QStringLiteral("settings"), QVariant::fromValue(&settings)}};
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
    QQuickView& view = d->window.open(d->viewProperties());
    view.show();
    view.raise();
    view.requestActivate();
}

void HomeWindow::openComposer(const ComposerDraft& draft)
{
    show(HomeSection::composer);
    d->composer.load(draft);
}

bool HomeWindow::isVisible() const
{
    return d->window.isVisible();
}

QQuickWindow* HomeWindow::window() const
{
    return d->window.window();
}

} // namespace vesk::app
