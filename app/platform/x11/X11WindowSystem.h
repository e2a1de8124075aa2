#pragma once

// Windows on X11: the active one from the window manager's hints, and focus handed back through it.

#include "app/platform/WindowSystem.h"

#include <QObject>
#include <chrono>

struct _XDisplay;

namespace vesk::app {

class X11WindowSystem : public WindowSystem
{
public:
    static constexpr std::chrono::milliseconds pollInterval{10};
    static constexpr std::chrono::milliseconds activationWait{300};

    explicit X11WindowSystem(_XDisplay* display = nullptr);
    ~X11WindowSystem() override;

    std::optional<WindowRef> activeWindow() override;
    void activate(const WindowRef& window, std::function<void(bool)> done) override;

    // Describes a top-level window by its WM_CLASS and title, none when it has gone.
    std::optional<WindowRef> describe(quint64 window);

private:
    quint64 activeWindowId();

    _XDisplay* m_display;
    QObject m_timers;
};

} // namespace vesk::app
