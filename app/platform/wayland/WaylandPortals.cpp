#include "app/platform/wayland/WaylandPortals.h"

#include "app/common/Logging.h"
#include "app/platform/DesktopPortal.h"
#include "app/platform/wayland/WaylandKeyboard.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QSettings>
#include <QUuid>
#include <xkbcommon/xkbcommon.h>

namespace {

// A shortcut as the GlobalShortcuts portal describes it: (id, {description, preferred_trigger, ...}).
struct PortalShortcut
{
    QString id;
    QVariantMap properties;
};

QDBusArgument& operator<<(QDBusArgument& argument, const PortalShortcut& shortcut)
{
    argument.beginStructure();
    argument << shortcut.id << shortcut.properties;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, PortalShortcut& shortcut)
{
    argument.beginStructure();
    argument >> shortcut.id >> shortcut.properties;
    argument.endStructure();
    return argument;
}

} // namespace

Q_DECLARE_METATYPE(PortalShortcut)

namespace vesk::app {

// Waits for one portal request's Response signal.
class PortalResponse : public QObject
{
    Q_OBJECT

public:
    PortalResponse(std::function<void(uint, const QVariantMap&)> done, QObject* parent)
        : QObject(parent), m_done(std::move(done))
    {
    }

public slots:
    void answer(uint code, const QVariantMap& results)
    {
        if (m_done) {
            std::exchange(m_done, nullptr)(code, results);
        }
        deleteLater();
    }

private:
    std::function<void(uint, const QVariantMap&)> m_done;
};

} // namespace vesk::app

namespace vesk::app {
namespace {

const QString shortcutsInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");
const QString remoteDesktopInterface = QStringLiteral("org.freedesktop.portal.RemoteDesktop");
constexpr const char* restoreTokenKey = "WaylandRemoteDesktop/restoreToken";
constexpr int requestTimeoutMs = 120000; // a dialog may wait for the user
constexpr int releaseFallbackMs = 1000;

QDBusConnection bus()
{
    return QDBusConnection::sessionBus();
}

QString newToken()
{
    return QStringLiteral("vesk") + QUuid::createUuid().toString(QUuid::Id128).left(12);
}

// Calls a portal method whose last argument is its options and that answers through a request object,
// and hands the Response to `done` (0 is success). The request's path follows from our bus name and the
// token, so we listen before the call and cannot miss the answer.
void request(const QString& interface, const QString& method, QVariantList arguments, QVariantMap options,
             QObject* context, std::function<void(uint, const QVariantMap&)> done)
{
    const QString token = newToken();
    options.insert(QStringLiteral("handle_token"), token);
    arguments.append(options);
    QString sender = bus().baseService().mid(1);
    sender.replace(u'.', u'_');
    const QString path = portalPath + QStringLiteral("/request/") + sender + u'/' + token;
    auto* response = new PortalResponse(std::move(done), context);
    bus().connect(portalService, path, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"),
                  response, SLOT(answer(uint, QVariantMap)));
    QDBusMessage call = QDBusMessage::createMethodCall(portalService, portalPath, interface, method);
    call.setArguments(arguments);
    auto* watcher = new QDBusPendingCallWatcher(bus().asyncCall(call, requestTimeoutMs), response);
    QObject::connect(
        watcher, &QDBusPendingCallWatcher::finished, response, [response, method](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            if (finished->isError()) {
                qCWarning(lcPlatform) << "Portal call" << method << "failed:" << finished->error().message();
                response->answer(2, {});
            }
        });
}

} // namespace

uint portalVersion(const QString& interface)
{
    // The portal usually starts on demand, when first called.
    if (!bus().isConnected() || (!bus().interface()->isServiceRegistered(portalService) &&
                                 !bus().interface()->activatableServiceNames().value().contains(portalService))) {
        return 0;
    }
    return callPortal(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"),
                      {interface, QStringLiteral("version")}, 2000)
        .value_or(QVariant())
        .toUInt();
}

PortalGlobalShortcut::PortalGlobalShortcut(QObject* parent) : GlobalShortcut(parent)
{
    // xdg-desktop-portal 1.21+ registers shortcuts only for a known app: a host app names itself by its
    // desktop file id (the registry exists since 1.19.4; older portals have none and need none).
    QDBusMessage registration = QDBusMessage::createMethodCall(
        portalService, portalPath, QStringLiteral("org.freedesktop.host.portal.Registry"), QStringLiteral("Register"));
    registration.setArguments({QGuiApplication::desktopFileName(), QVariantMap()});
    const QDBusMessage registered = bus().call(registration, QDBus::Block, 2000);
    if (registered.type() == QDBusMessage::ErrorMessage) {
        qCDebug(lcPlatform) << "No host app registry:" << registered.errorMessage();
    }
    m_releaseFallback.setSingleShot(true);
    m_releaseFallback.setInterval(releaseFallbackMs);
    connect(&m_releaseFallback, &QTimer::timeout, this, [this] { emit released(m_name); });
    qDBusRegisterMetaType<PortalShortcut>();
    qDBusRegisterMetaType<QList<PortalShortcut>>();
    bus().connect(portalService, portalPath, shortcutsInterface, QStringLiteral("Activated"), this,
                  SLOT(onActivated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
    bus().connect(portalService, portalPath, shortcutsInterface, QStringLiteral("Deactivated"), this,
                  SLOT(onDeactivated(QDBusObjectPath, QString, qulonglong, QVariantMap)));
}

PortalGlobalShortcut::~PortalGlobalShortcut()
{
    closeSession();
}

QString PortalGlobalShortcut::triggerText(const KeyCombination& combination)
{
    QStringList parts;
    const std::pair<Qt::KeyboardModifier, const char*> names[] = {{Qt::ControlModifier, "CTRL"},
                                                                  {Qt::AltModifier, "ALT"},
                                                                  {Qt::ShiftModifier, "SHIFT"},
                                                                  {Qt::MetaModifier, "LOGO"}};
    for (const auto& [modifier, name] : names) {
        if (combination.modifiers & modifier) {
            parts << QLatin1String(name);
        }
    }
    char key[64] = {};
    if (xkb_keysym_get_name(waylandKeysym(combination.key), key, sizeof key) > 0) {
        parts << QString::fromLatin1(key);
    }
    return parts.join(u'+');
}

void PortalGlobalShortcut::closeSession()
{
    if (!m_session.isEmpty()) {
        bus().call(QDBusMessage::createMethodCall(portalService, m_session,
                                                  QStringLiteral("org.freedesktop.portal.Session"),
                                                  QStringLiteral("Close")),
                   QDBus::NoBlock);
        m_session.clear();
    }
}

bool PortalGlobalShortcut::setShortcut(const QString& name, const std::optional<KeyCombination>& combination, QString*)
{
    m_name = name;
    closeSession();
    if (!combination) {
        return true;
    }
    // KWin registers the shortcuts given when the session is made (on 5.27 BindShortcuts would open System
    // Settings); other desktops bind them in a second step.
    const QList<PortalShortcut> shortcuts = {{name,
                                              {{QStringLiteral("description"), QStringLiteral("Fix the selected text")},
                                               {QStringLiteral("preferred_trigger"), triggerText(*combination)}}}};
    // KDE files the shortcuts of an app without an app id under the session's token: a fixed token keeps
    // them, and the keys the user gave them, from one start to the next.
    QVariantMap options{{QStringLiteral("session_handle_token"), QStringLiteral("vesk_shortcuts")},
                        {QStringLiteral("shortcuts"), QVariant::fromValue(shortcuts)}};
    request(shortcutsInterface, QStringLiteral("CreateSession"), {}, options, this,
            [this, shortcuts](uint code, const QVariantMap& results) {
                if (code != 0) {
                    qCWarning(lcPlatform) << "The desktop refused a shortcut session (" << code << ")";
                    return;
                }
                m_session = results.value(QStringLiteral("session_handle")).toString();
                qCInfo(lcPlatform) << "Shortcut session open with the GlobalShortcuts portal";
                if (bus().interface()->isServiceRegistered(QStringLiteral("org.kde.KWin"))) {
                    return;
                }
                request(shortcutsInterface, QStringLiteral("BindShortcuts"),
                        {QVariant::fromValue(QDBusObjectPath(m_session)), QVariant::fromValue(shortcuts), QString()},
                        {}, this, [](uint bound, const QVariantMap&) {
                            if (bound != 0) {
                                qCWarning(lcPlatform) << "The desktop did not bind the shortcut (" << bound << ")";
                            }
                        });
            });
    return true;
}

void PortalGlobalShortcut::onActivated(const QDBusObjectPath& session, const QString& id, qulonglong,
                                       const QVariantMap&)
{
    if (session.path() == m_session && id == m_name && !m_paused) {
        qCDebug(lcPlatform) << "The portal's shortcut was pressed";
        emit pressed(id);
        // A desktop that never reports the release still gets its correction.
        m_releaseFallback.start();
    }
}

void PortalGlobalShortcut::onDeactivated(const QDBusObjectPath& session, const QString& id, qulonglong,
                                         const QVariantMap&)
{
    if (session.path() == m_session && id == m_name && !m_paused && m_releaseFallback.isActive()) {
        qCDebug(lcPlatform) << "The portal's shortcut was released";
        m_releaseFallback.stop();
        emit released(id);
    }
}

RemoteDesktopKeyboard::RemoteDesktopKeyboard(QObject* parent) : QObject(parent) {}

RemoteDesktopKeyboard::~RemoteDesktopKeyboard()
{
    if (!m_session.isEmpty()) {
        bus().call(QDBusMessage::createMethodCall(portalService, m_session,
                                                  QStringLiteral("org.freedesktop.portal.Session"),
                                                  QStringLiteral("Close")),
                   QDBus::NoBlock);
    }
}

void RemoteDesktopKeyboard::start(std::function<void(bool)> done)
{
    const uint version = portalVersion(remoteDesktopInterface);
    if (version == 0) {
        done(false);
        return;
    }
    QVariantMap options{{QStringLiteral("session_handle_token"), newToken()}};
    request(remoteDesktopInterface, QStringLiteral("CreateSession"), {}, options, this,
            [this, version, done](uint code, const QVariantMap& results) {
                if (code != 0) {
                    qCWarning(lcPlatform) << "The desktop refused a remote desktop session (" << code << ")";
                    done(false);
                    return;
                }
                m_session = results.value(QStringLiteral("session_handle")).toString();
                QVariantMap select{{QStringLiteral("types"), 1U}}; // the keyboard only
                if (version >= 2) {
                    // Persist until revoked; the token from the last start skips the dialog.
                    select.insert(QStringLiteral("persist_mode"), 2U);
                    const QString token = QSettings().value(QLatin1String(restoreTokenKey)).toString();
                    if (!token.isEmpty()) {
                        select.insert(QStringLiteral("restore_token"), token);
                    }
                }
                const QDBusObjectPath session(m_session);
                request(remoteDesktopInterface, QStringLiteral("SelectDevices"), {QVariant::fromValue(session)}, select,
                        this, [this, session, done](uint selected, const QVariantMap&) {
                            if (selected != 0) {
                                done(false);
                                return;
                            }
                            request(remoteDesktopInterface, QStringLiteral("Start"),
                                    {QVariant::fromValue(session), QString()}, {}, this,
                                    [this, done](uint started, const QVariantMap& granted) {
                                        m_started = started == 0;
                                        // Tokens are single-use: the one just handed out replaces the old.
                                        const QString token = granted.value(QStringLiteral("restore_token")).toString();
                                        if (!token.isEmpty()) {
                                            QSettings().setValue(QLatin1String(restoreTokenKey), token);
                                        }
                                        qCInfo(lcPlatform)
                                            << "Remote desktop keyboard" << (m_started ? "granted" : "refused");
                                        done(m_started);
                                    });
                        });
            });
}

void RemoteDesktopKeyboard::send(const QList<QList<KeyEvent>>& steps)
{
    if (!m_started) {
        return;
    }
    m_steps.append(steps);
    if (m_unanswered == 0) {
        sendNextStep();
    }
}

void RemoteDesktopKeyboard::sendNextStep()
{
    // xdg-desktop-portal handles every call on a thread of its own and passes it on from there: calls sent
    // without waiting for their answers reach the compositor in any order (C before Ctrl, a release before
    // its press). The portal has passed a call on when it answers, so each step waits for the last one's.
    while (m_unanswered == 0 && !m_steps.isEmpty()) {
        for (const KeyEvent& event : m_steps.takeFirst()) {
            QDBusMessage call = QDBusMessage::createMethodCall(portalService, portalPath, remoteDesktopInterface,
                                                               QStringLiteral("NotifyKeyboardKeycode"));
            call.setArguments({QVariant::fromValue(QDBusObjectPath(m_session)), QVariantMap(),
                               static_cast<int>(event.evdevCode), event.pressed ? 1U : 0U});
            auto* watcher = new QDBusPendingCallWatcher(bus().asyncCall(call), this);
            ++m_unanswered;
            connect(watcher, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher* answered) {
                answered->deleteLater();
                if (answered->isError()) {
                    qCWarning(lcPlatform) << "A key event was refused:" << answered->error().message();
                }
                if (--m_unanswered == 0) {
                    sendNextStep();
                }
            });
        }
    }
}

} // namespace vesk::app

#include "WaylandPortals.moc"
