#pragma once

// The panel's three decisions as QML calls them, forwarded to whatever the panel's owner supplied for the
// correction on screen.

#include <QObject>
#include <functional>

namespace vesk::app {

class ReviewActions : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    void set(std::function<void()> accept, std::function<void()> close, std::function<void()> openSettings);
    void clear() { set({}, {}, {}); }

    Q_INVOKABLE void accept() const { invoke(m_accept); }
    Q_INVOKABLE void close() const { invoke(m_close); }
    Q_INVOKABLE void openSettings() const { invoke(m_openSettings); }

private:
    // Runs a copy: the action may well hide the panel, which replaces the callbacks under its feet.
    static void invoke(std::function<void()> action)
    {
        if (action) {
            action();
        }
    }

    std::function<void()> m_accept;
    std::function<void()> m_close;
    std::function<void()> m_openSettings;
};

} // namespace vesk::app
