#pragma once

// Synthetic keystrokes into other applications.

#include "app/platform/WindowSystem.h"

#include <functional>

namespace vesk::app {

enum class Keystroke { selectAll, copy, paste };

class InputSynthesizer
{
public:
    virtual ~InputSynthesizer() = default;
    // Whether this session lets Vesk post input to other applications (an X11 session with XTest).
    virtual bool canPostInput() const = 0;
    // Waits, without blocking the event loop, until no modifier key is held (the user may still hold the
    // shortcut's Alt), releasing stuck ones after a bounded wait; then calls `ready`.
    virtual void whenModifiersReleased(std::function<void()> ready) = 0;
    // Posts the stroke to the focused window, resolved through the current keyboard layout; a terminal
    // gets its own keys (Ctrl+Shift+C, Ctrl+Shift+V). False when nothing could be posted.
    virtual bool post(Keystroke stroke, const std::optional<WindowRef>& target) = 0;
};

} // namespace vesk::app
