#pragma once

// The panel's three decisions as QML calls them, forwarded to whatever the panel's owner supplied for the
// correction on screen.

#include "app/models/PanelActions.h"

#include <QObject>

namespace vesk::app {

class ReviewActions : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    void set(PanelActions actions) { m_actions = std::move(actions); }
    void clear() { m_actions = {}; }

    Q_INVOKABLE void accept() const { invoke(m_actions.accept); }
    Q_INVOKABLE void close() const { invoke(m_actions.close); }
    Q_INVOKABLE void openSettings() const { invoke(m_actions.openSettings); }

private:
    // Runs a copy: the action may well hide the panel, which replaces the callbacks under its feet.
    static void invoke(std::function<void()> action)
    {
        if (action) {
            action();
        }
    }

    PanelActions m_actions;
};

} // namespace vesk::app
