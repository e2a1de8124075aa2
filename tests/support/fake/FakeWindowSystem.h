#pragma once

// Windows for tests: the active one is whatever the test says, and activations are recorded.

#include "app/platform/WindowSystem.h"

#include <QList>
#include <QObject>

namespace vesk::app {

class FakeWindowSystem : public WindowSystem
{
public:
    std::optional<WindowRef> activeWindow() override { return m_active; }
    // Makes `window` active on the next turn of the event loop.
    void activate(const WindowRef& window, std::function<void(bool)> done) override;

    void setActiveWindow(const std::optional<WindowRef>& window) { m_active = window; }
    [[nodiscard]] const QList<WindowRef>& activations() const { return m_activations; }

private:
    std::optional<WindowRef> m_active;
    QList<WindowRef> m_activations;
    QObject m_timers;
};

} // namespace vesk::app
