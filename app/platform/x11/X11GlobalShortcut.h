#pragma once

// Global shortcuts on X11: passive key grabs on the root window, read from Qt's own event stream.

#include "app/platform/GlobalShortcut.h"

#include <QAbstractNativeEventFilter>
#include <QHash>
#include <QTimer>
#include <chrono>
#include <memory>

struct _XDisplay;

namespace vesk::app {

// Without detectable auto-repeat, an auto-repeat press follows its fake release at once (same timestamp), so
// a real release is reported this much later.
inline constexpr std::chrono::milliseconds autoRepeatWindow{30};

class X11GlobalShortcut : public GlobalShortcut, public QAbstractNativeEventFilter
{
    Q_OBJECT

public:
    // Grabs on `display`, Qt's connection unless another is given (tests hold keys from a second client
    // that way); presses are only seen on Qt's connection.
    explicit X11GlobalShortcut(_XDisplay* display = nullptr, QObject* parent = nullptr);
    ~X11GlobalShortcut() override;

    bool setShortcut(const QString& name, const std::optional<KeyCombination>& combination, QString* error) override;
    void setPaused(bool paused) override;

    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    struct Grab
    {
        KeyCombination combination;
        unsigned keycode = 0;
        unsigned modifiers = 0; // X modifier mask without the lock keys
        bool isDown = false;
        unsigned long lastReleaseTime = 0;
        std::shared_ptr<QTimer> pendingRelease; // reports the release unless a repeat press follows it
    };

    // 0 when the keys are grabbed; otherwise the X error (BadAccess: another client holds them).
    int grab(Grab& grab);
    void ungrab(const Grab& grab);
    void regrabAll();
    void holdBackRelease(const QString& name, Grab& entry, unsigned long time);

    _XDisplay* m_display;
    bool m_paused = false;
    QHash<QString, Grab> m_grabs;
    std::chrono::milliseconds m_releaseDelay = autoRepeatWindow; // none when auto-repeat is detectable
};

} // namespace vesk::app
