#pragma once

// The desktop's windows as far as a correction needs them: which one has focus, and giving it back.

#include <QObject>
#include <QString>
#include <functional>
#include <optional>

namespace vesk::app {

struct WindowRef
{
    quint64 id = 0;          // the platform's window identifier
    QString appName;         // what a person calls the application, e.g. "Mousepad"
    QString windowClass;     // the platform's class name (WM_CLASS on X11)
    bool isTerminal = false; // copy and paste use the terminal's own keys there

    bool operator==(const WindowRef&) const = default;
};

class WindowSystem
{
public:
    virtual ~WindowSystem() = default;
    // The window with keyboard focus, if the platform can tell.
    virtual std::optional<WindowRef> activeWindow() = 0;
    // Asks for `window` to be focused and calls `done` once it is (true) or a short wait ran out (false).
    // Never blocks the event loop.
    virtual void activate(const WindowRef& window, std::function<void(bool)> done) = 0;
};

} // namespace vesk::app
