#include "support/fake/FakeWindowSystem.h"

#include <QTimer>

namespace vesk::app {

void FakeWindowSystem::activate(const WindowRef& window, std::function<void(bool)> done)
{
    m_activations.append(window);
    QTimer::singleShot(0, &m_timers, [this, window, done = std::move(done)] {
        m_active = window;
        done(true);
    });
}

} // namespace vesk::app
