#include "app/desktop/DesktopApp.h"

#include "app/common/AppIcon.h"
#include "app/common/Logging.h"
#include "app/services/CorrectionEnvironment.h"
#include "app/desktop/GrammarCoordinator.h"
#include "app/models/ProviderConnection.h"
#include "app/platform/Platform.h"
#include "app/services/AppSettings.h"
#include "app/services/HistoryStore.h"
#include "app/services/KeychainKeyStore.h"
#include "app/services/ShortcutSettings.h"
#include "app/services/SingleInstance.h"
#include "app/windows/HomeWindow.h"
#include "app/windows/OnboardingWindow.h"
#include "app/windows/ReviewPanelController.h"
#include "core/CurlTransport.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QLoggingCategory>
#include <QMenu>
#include <QQuickWindow>
#include <QSGRendererInterface>
#include <QSystemTrayIcon>
#include <QTimer>

namespace vesk::app {

namespace {

constexpr const char* fixGrammar = ShortcutSettings::fixGrammar;

// The windows are small and mostly still, so Qt Quick's software renderer draws them: no GL driver is loaded
// into the tray app for them (without a GPU, Mesa's llvmpipe alone kept ~95 MB resident after the first review
// panel) and no render thread runs. QT_QUICK_BACKEND or QSG_RHI_BACKEND still choose another. Only before
// the first window is built.
void preferSoftwareRendering()
{
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND") && qEnvironmentVariableIsEmpty("QSG_RHI_BACKEND")) {
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    }
}

} // namespace

struct DesktopApp::Private
{
    AppSettings settings;
    std::shared_ptr<KeychainKeyStore> keys = std::make_shared<KeychainKeyStore>();
    std::shared_ptr<CurlTransport> transport = std::make_shared<CurlTransport>();
    std::unique_ptr<Platform> platform = createPlatform();
    ShortcutSettings shortcuts{nullptr, platform->shortcut.get()};
    HistoryStore history;
    CorrectionEnvironment environment{settings, keys, transport,
                                      [this](const AcceptedCorrection& accepted) { history.record(accepted); }};
    // One for the whole app, so Settings and onboarding always agree on the provider and its key.
    ProviderConnection connection{settings, keys, ProviderConnection::correctionProbe(transport)};
    ReviewPanelController panel{settings, *platform->appearance,
                                platform->newWindowsTakeTheKeyboard ? ReviewPanelController::Showing::onceCopied
                                                                    : ReviewPanelController::Showing::atThePress};
    HomeWindow home{environment, history, connection, shortcuts, *platform->appearance};
    OnboardingWindow onboarding{
        settings,
        history,
        connection,
        &shortcuts,
        {[this] { return platform->input->canPostInput(); }, platform->limitation, isWaylandSession()},
        *platform->appearance};
    SingleInstance instance;
    std::unique_ptr<GrammarCoordinator> coordinator;
    QSystemTrayIcon* tray = nullptr;
    QMenu menu;
    QAction* finishSetup = nullptr;
    QTimer trustTimer;
    bool trusted = false;
};

DesktopApp::DesktopApp(QObject* parent) : QObject(parent), d(std::make_unique<Private>())
{
    preferSoftwareRendering(); // the windows are built on first open
    GrammarCoordinator::Panel panel{
        [this](CorrectionSession& session, PanelActions actions) { d->panel.show(session, std::move(actions)); },
        [this](std::function<void()> keyboardLeft) { d->panel.hide(std::move(keyboardLeft)); },
        [this] { d->panel.focus(); }};
    d->coordinator =
        std::make_unique<GrammarCoordinator>(*d->platform, d->environment, panel, static_cast<AppRouter&>(*this));
}

DesktopApp::~DesktopApp() = default;

bool DesktopApp::start()
{
    if (!d->instance.listen()) {
        QString error;
        SingleInstance::send(QStringLiteral("show"), &error);
        return false;
    }
    connect(&d->instance, &SingleInstance::messageReceived, this, &DesktopApp::handleMessage);
    QApplication::setWindowIcon(appIcon());
    QApplication::setQuitOnLastWindowClosed(false);

    registerShortcut();
    buildTray();
    if (!d->settings.hasOnboarded()) {
        QTimer::singleShot(0, this, [this] { openOnboarding(); });
    }
    // Whether keystrokes can be posted can change while Vesk runs (a session switch, an X server
    // restart); the answer is cheap, so it is asked every second.
    d->trusted = d->platform->input->canPostInput();
    connect(&d->trustTimer, &QTimer::timeout, this, &DesktopApp::refreshTrust);
    d->trustTimer.start(1000);
    if (!d->platform->limitation.isEmpty()) {
        qCWarning(lcApp).noquote() << d->platform->limitation;
    }
    qCInfo(lcApp) << "Ready";
    return true;
}

void DesktopApp::refreshTrust()
{
    const bool trusted = d->platform->input->canPostInput();
    if (trusted != d->trusted) {
        d->trusted = trusted;
        qCInfo(lcApp) << "Posting input to other apps is now" << (trusted ? "possible" : "impossible");
    }
}

void DesktopApp::handleMessage(const QString& message)
{
    if (message == QLatin1String("fix")) {
        if (!d->platform->shortcut->claimFixRequest()) {
            d->coordinator->correctSelection();
        }
    } else if (message == QLatin1String("show")) {
        openHome(HomeSection::overview);
    } else {
        qCWarning(lcApp) << "Unknown request from another launch:" << message;
    }
}

void DesktopApp::registerShortcut()
{
    // The settings object registers the stored shortcut with the platform and keeps it registered.
    const QString error = d->shortcuts.registrationError(fixGrammar);
    if (!error.isEmpty()) {
        qCWarning(lcApp).noquote() << "The shortcut isn't active:" << error;
    }
    // On the release: while the shortcut's keys are down the keyboard is grabbed by us, and a copy
    // stroke would land in our own window.
    connect(d->platform->shortcut.get(), &GlobalShortcut::released, this, [this](const QString& name) {
        if (name == QLatin1String(fixGrammar)) {
            d->coordinator->correctSelection();
        }
    });
}

void DesktopApp::buildTray()
{
    QMenu& menu = d->menu;
    connect(menu.addAction(QStringLiteral("Fix Grammar")), &QAction::triggered, this,
            [this] { d->coordinator->correctSelection(); });
    d->finishSetup = menu.addAction(QStringLiteral("Finish Setup"));
    connect(d->finishSetup, &QAction::triggered, this, [this] { openOnboarding(); });
    menu.addSeparator();

    const auto addPicker = [this, &menu](const QString& title, auto cases, auto current, auto assign) {
        QMenu* picker = menu.addMenu(title);
        auto* group = new QActionGroup(picker);
        for (const auto value : cases) {
            QAction* action = picker->addAction(QString::fromUtf8(vesk::title(value).data()));
            action->setCheckable(true);
            group->addAction(action);
            connect(action, &QAction::triggered, this, [this, value, assign] {
                CorrectionSettings correction = d->settings.correction();
                assign(correction, value);
                d->settings.setCorrection(correction);
            });
            connect(picker, &QMenu::aboutToShow, action,
                    [this, action, value, current] { action->setChecked(current(d->settings.correction()) == value); });
        }
    };
    addPicker(
        QStringLiteral("Strength"), allCases<CorrectionStrength>(),
        [](const CorrectionSettings& c) { return c.strength; },
        [](CorrectionSettings& c, CorrectionStrength v) { c.strength = v; });
    addPicker(
        QStringLiteral("Tone"), allCases<Tone>(), [](const CorrectionSettings& c) { return c.tone; },
        [](CorrectionSettings& c, Tone v) { c.tone = v; });
    menu.addSeparator();
    connect(menu.addAction(QStringLiteral("Write")), &QAction::triggered, this,
            [this] { openHome(HomeSection::composer); });
    connect(menu.addAction(QStringLiteral("Activity")), &QAction::triggered, this,
            [this] { openHome(HomeSection::activity); });
    connect(menu.addAction(QStringLiteral("Settings")), &QAction::triggered, this,
            [this] { openHome(HomeSection::settings); });
    menu.addSeparator();
    connect(menu.addAction(QStringLiteral("Quit Vesk")), &QAction::triggered, qApp, &QCoreApplication::quit);
    connect(&menu, &QMenu::aboutToShow, this, [this] { d->finishSetup->setVisible(!d->settings.hasOnboarded()); });
    d->finishSetup->setVisible(!d->settings.hasOnboarded());

    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        // Without a tray the home window is the only way in, so it stays up.
        qCInfo(lcApp) << "No system tray; showing the home window instead.";
        openHome(HomeSection::overview);
        return;
    }
    d->tray = new QSystemTrayIcon(appIcon(), this);
    d->tray->setToolTip(QStringLiteral("Vesk"));
    d->tray->setContextMenu(&menu);
    connect(d->tray, &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger) {
            openHome(HomeSection::overview);
        }
    });
    d->tray->show();
}

void DesktopApp::openOnboarding()
{
    d->onboarding.show();
}

void DesktopApp::openHome(HomeSection section)
{
    d->home.show(section);
}

void DesktopApp::openComposer(const ComposerDraft& draft)
{
    d->home.openComposer(draft);
}

} // namespace vesk::app
