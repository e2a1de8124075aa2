#pragma once

// System-wide shortcuts by name: the platform grabs the keys and reports presses and releases.

#include "app/platform/KeyCombination.h"

#include <QObject>

namespace vesk::app {

class GlobalShortcut : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    // Registers `combination` for `name`, replacing what `name` had; nothing unregisters it. Returns false
    // with a readable reason when the keys cannot be had (taken by another program, not grabbable); the
    // name then has no shortcut.
    virtual bool setShortcut(const QString& name, const std::optional<KeyCombination>& combination, QString* error) = 0;
    // While paused, presses are not reported (the recorder is listening for a new shortcut).
    virtual void setPaused(bool paused) = 0;
    // `vesk fix` asked the running app for a correction. True when that request is the command a compositor
    // binding ran for a press reported here (the compositor told of the binding before the command was up),
    // or when the shortcut finds out which it is and reports a press either way: the request must not start
    // a correction itself.
    virtual bool claimFixRequest() { return false; }

signals:
    // A press of the shortcut; auto-repeat does not fire again until the key is released.
    void pressed(const QString& name);
    // The key of the shortcut was released.
    void released(const QString& name);
};

} // namespace vesk::app
