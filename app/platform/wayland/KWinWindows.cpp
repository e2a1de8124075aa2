#include "app/platform/wayland/KWinWindows.h"

#include "app/common/Logging.h"
#include "app/platform/PollUntil.h"
#include "app/platform/wayland/WaylandWindows.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTimer>

namespace vesk::app {
namespace {

const QString kwinService = QStringLiteral("org.kde.KWin");
const QString scripting = QStringLiteral("org.kde.kwin.Scripting");
const QString objectPath = QStringLiteral("/KWinWindows");
// Fixed names: loading under one unloads what a run that crashed left in KWin.
const QString focusPlugin = QStringLiteral("vesk-focus");
const QString activatePlugin = QStringLiteral("vesk-activate");
constexpr int callTimeoutMs = 2000;
constexpr std::chrono::milliseconds activationWait{500};

// KWin 5.27 calls the focused window activeClient, Plasma 6 activeWindow; each has its own signal.
const char* const focusScript = R"js(
function report(window) {
    callDBus("%1", "%2", "dev.vesk.KWinWindows", "activated",
             window ? String(window.internalId) : "",
             window ? String(window.desktopFileName || "") : "",
             window ? String(window.resourceClass || "") : "");
}
if (workspace.windowActivated) {
    workspace.windowActivated.connect(report);
    report(workspace.activeWindow);
} else {
    workspace.clientActivated.connect(report);
    report(workspace.activeClient);
}
)js";

const char* const activateScript = R"js(
const windows = workspace.windowList ? workspace.windowList() : workspace.clientList();
for (const window of windows) {
    if (String(window.internalId) === "%1") {
        if (workspace.windowActivated) {
            workspace.activeWindow = window;
        } else {
            workspace.activeClient = window;
        }
    }
}
)js";

QDBusConnection bus()
{
    return QDBusConnection::sessionBus();
}

// Calls KWin without waiting: `done` gets the reply (an error message included) on the event loop, unless
// `context` is gone by then.
void callKWin(const QString& path, const QString& interface, const QString& method, const QVariantList& arguments,
              QObject* context, std::function<void(const QDBusMessage&)> done)
{
    QDBusMessage call = QDBusMessage::createMethodCall(kwinService, path, interface, method);
    call.setArguments(arguments);
    auto* watcher = new QDBusPendingCallWatcher(bus().asyncCall(call, callTimeoutMs), context);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, context,
                     [done = std::move(done)](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         done(finished->reply());
                     });
}

QString scriptFile(const QString& pluginName)
{
    return QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation) + u'/' + pluginName +
           QStringLiteral(".js");
}

} // namespace

KWinWindows::KWinWindows(QObject* parent) : QObject(parent)
{
    if (!bus().registerObject(objectPath, this, QDBusConnection::ExportScriptableSlots)) {
        qCWarning(lcPlatform) << "Can't export the object KWin reports the focused window to";
        return;
    }
    m_kwin = bus().interface()->serviceOwner(kwinService).value();
    load(focusPlugin, QString::fromLatin1(focusScript).arg(bus().baseService(), objectPath));
}

KWinWindows::~KWinWindows()
{
    bus().unregisterObject(objectPath);
    for (const QString& plugin : {focusPlugin, activatePlugin}) {
        // Waited for: the app may be about to exit, and the script must not outlive it.
        bus().call(QDBusMessage::createMethodCall(kwinService, QStringLiteral("/Scripting"), scripting,
                                                  QStringLiteral("unloadScript"))
                       << plugin,
                   QDBus::Block, callTimeoutMs);
        QFile::remove(scriptFile(plugin));
    }
}

void KWinWindows::load(const QString& pluginName, const QString& source)
{
    const QString path = scriptFile(pluginName);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(source.toUtf8()) < 0) {
        qCWarning(lcPlatform) << "Can't write the KWin script" << path << file.errorString();
        return;
    }
    file.close();
    const auto run = [this, pluginName](const QDBusMessage& loaded) {
        const int id = loaded.type() == QDBusMessage::ReplyMessage ? loaded.arguments().value(0).toInt() : -1;
        if (id < 0) {
            qCWarning(lcPlatform) << "KWin did not load the script" << pluginName << loaded.errorMessage();
            return;
        }
        // Plasma 6 exports a loaded script as /Scripting/ScriptN, 5.27 as /N.
        const auto ran = [pluginName](const QDBusMessage& reply) {
            if (reply.type() == QDBusMessage::ErrorMessage) {
                qCWarning(lcPlatform) << "KWin did not run the script" << pluginName << reply.errorMessage();
            }
        };
        const QString script = QStringLiteral("org.kde.kwin.Script");
        callKWin(QStringLiteral("/Scripting/Script%1").arg(id), script, QStringLiteral("run"), {}, &m_calls,
                 [this, id, script, ran](const QDBusMessage& reply) {
                     if (reply.type() == QDBusMessage::ErrorMessage) {
                         callKWin(QStringLiteral("/%1").arg(id), script, QStringLiteral("run"), {}, &m_calls, ran);
                     } else {
                         ran(reply);
                     }
                 });
    };
    callKWin(QStringLiteral("/Scripting"), scripting, QStringLiteral("unloadScript"), {pluginName}, &m_calls,
             [this, path, pluginName, run](const QDBusMessage&) {
                 callKWin(QStringLiteral("/Scripting"), scripting, QStringLiteral("loadScript"), {path, pluginName},
                          &m_calls, run);
             });
}

QString KWinWindows::appIdOf(const QString& desktopFileName, const QString& resourceClass)
{
    if (desktopFileName.isEmpty() || (!WaylandWindows::describe(0, desktopFileName).isTerminal &&
                                      WaylandWindows::describe(0, resourceClass).isTerminal)) {
        return resourceClass;
    }
    return desktopFileName;
}

quint64 KWinWindows::idOf(const QString& windowId)
{
    auto it = m_ids.find(windowId);
    if (it == m_ids.end()) {
        it = m_ids.insert(windowId, m_nextId++);
    }
    return *it;
}

void KWinWindows::activated(const QString& windowId, const QString& desktopFileName, const QString& resourceClass)
{
    if (calledFromDBus() && message().service() != m_kwin) {
        return;
    }
    m_activeId = windowId;
    m_activeAppId = appIdOf(desktopFileName, resourceClass);
    qCDebug(lcPlatform) << "KWin activated" << (windowId.isEmpty() ? QStringLiteral("no window") : m_activeAppId);
}

std::optional<WindowRef> KWinWindows::activeWindow()
{
    if (m_activeId.isEmpty()) {
        return std::nullopt;
    }
    return WaylandWindows::describe(idOf(m_activeId), m_activeAppId);
}

void KWinWindows::activate(const WindowRef& window, std::function<void(bool)> done)
{
    const QString windowId = m_ids.key(window.id);
    const auto isActive = [this, windowId] { return !windowId.isEmpty() && m_activeId == windowId; };
    if (windowId.isEmpty() || isActive()) {
        QTimer::singleShot(0, &m_calls, [done = std::move(done), active = isActive()] { done(active); });
        return;
    }
    load(activatePlugin, QString::fromLatin1(activateScript).arg(windowId));
    pollUntil(&m_calls, std::chrono::milliseconds(10), activationWait, isActive, std::move(done));
}

} // namespace vesk::app
