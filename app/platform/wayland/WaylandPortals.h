#pragma once

// The desktop portals a sandbox-free app uses where the compositor keeps its protocols to itself (KDE,
// GNOME): GlobalShortcuts for the shortcut, RemoteDesktop for keystrokes. Requests answer through a
// Response signal on a request object; everything here waits for it on the event loop.

#include "app/platform/GlobalShortcut.h"

#include <QDBusObjectPath>
#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantMap>
#include <functional>

namespace vesk::app {

// Whether the session bus has the portal with `interface` (e.g. "org.freedesktop.portal.GlobalShortcuts"),
// and its version; 0 when it has not.
uint portalVersion(const QString& interface);

// The shortcut through the GlobalShortcuts portal, registered for the app's desktop file id. The recorded
// shortcut is the preferred trigger; the desktop may let the user pick another. A new recording opens a new
// session with the new trigger.
class PortalGlobalShortcut : public GlobalShortcut
{
    Q_OBJECT

public:
    explicit PortalGlobalShortcut(QObject* parent = nullptr);
    ~PortalGlobalShortcut() override;

    bool setShortcut(const QString& name, const std::optional<KeyCombination>& combination, QString* error) override;
    void setPaused(bool paused) override { m_paused = paused; }

    // The portal's trigger text for `combination` ("ALT+g").
    static QString triggerText(const KeyCombination& combination);

private slots:
    void onActivated(const QDBusObjectPath& session, const QString& id, qulonglong timestamp,
                     const QVariantMap& options);
    void onDeactivated(const QDBusObjectPath& session, const QString& id, qulonglong timestamp,
                       const QVariantMap& options);

private:
    void closeSession();

    QString m_name;
    QString m_session;
    bool m_paused = false;
    QTimer m_releaseFallback; // runs from a press until its release
};

// One RemoteDesktop session with a keyboard, started once for the app's life. The portal's restore token is
// kept in the app's settings and replaced after every start, so the desktop asks the user only once.
class RemoteDesktopKeyboard : public QObject
{
    Q_OBJECT

public:
    explicit RemoteDesktopKeyboard(QObject* parent = nullptr);
    ~RemoteDesktopKeyboard() override;

    // Starts the session; `done` tells whether the desktop granted the keyboard.
    void start(std::function<void(bool)> done);
    [[nodiscard]] bool isStarted() const { return m_started; }
    // An evdev key code pressed or released, on the user's own keymap.
    struct KeyEvent
    {
        uint32_t evdevCode;
        bool pressed;
    };
    // Sends the steps' key events in order: a step's events all reach the desktop before any of the next
    // step's. Within a step the order is open (releases of several modifiers, say).
    void send(const QList<QList<KeyEvent>>& steps);
    // Whether key events are still on their way.
    [[nodiscard]] bool isSending() const { return m_unanswered > 0 || !m_steps.isEmpty(); }

private:
    void sendNextStep();

    QString m_session;
    bool m_started = false;
    QList<QList<KeyEvent>> m_steps;
    int m_unanswered = 0;
};

} // namespace vesk::app
