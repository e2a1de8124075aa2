#pragma once

// The desktop's windows on KWin, which lists them to no other program (no foreign-toplevel protocol on
// Plasma 5.27 or 6): a small KWin script, loaded over D-Bus for the app's life, reports every activation to
// an object Vesk exports on the session bus, so the focused app is known before a shortcut fires. Focus is
// given back through a one-off script.

#include "app/platform/WindowSystem.h"

#include <QDBusContext>
#include <QHash>
#include <QObject>

namespace vesk::app {

class KWinWindows : public QObject, public WindowSystem, protected QDBusContext
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "dev.vesk.KWinWindows")

public:
    // Exports the object and loads the script, replacing one a crashed run left behind; activations reach
    // the object a moment later, on the event loop.
    explicit KWinWindows(QObject* parent = nullptr);
    // Unloads the script.
    ~KWinWindows() override;

    std::optional<WindowRef> activeWindow() override;
    void activate(const WindowRef& window, std::function<void(bool)> done) override;

    // The name a window goes by for Vesk: its desktop file name ("org.kde.konsole"), or its resource class
    // where that names a terminal the desktop file name does not (a terminal run with a custom app id, or an
    // X11 one without a desktop file).
    static QString appIdOf(const QString& desktopFileName, const QString& resourceClass);

public slots:
    // From the script: KWin activated the window with `windowId` (its internal id), or none when empty.
    Q_SCRIPTABLE void activated(const QString& windowId, const QString& desktopFileName, const QString& resourceClass);

private:
    void load(const QString& pluginName, const QString& source);
    quint64 idOf(const QString& windowId);

    QString m_kwin; // KWin's unique name on the bus: reports from anyone else are ignored
    QString m_activeId;
    QString m_activeAppId;
    QHash<QString, quint64> m_ids;
    quint64 m_nextId = 1;
    QObject m_calls; // owns the pending D-Bus calls and timers, which end with this object
};

} // namespace vesk::app
