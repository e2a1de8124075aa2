#pragma once

// The platform services the shell uses, picked once at start-up.

#include "app/platform/Clipboard.h"
#include "app/platform/GlobalShortcut.h"
#include "app/platform/InputSynthesizer.h"
#include "app/platform/WindowSystem.h"

#include <memory>

namespace vesk::app {

struct Platform
{
    std::unique_ptr<GlobalShortcut> shortcut;
    std::unique_ptr<InputSynthesizer> input;
    std::unique_ptr<WindowSystem> windows;
    std::unique_ptr<Clipboard> clipboard;
    // Why input cannot be posted in this session (e.g. a Wayland session), empty when it can.
    QString limitation;
};

// Whether the user's session is a Wayland one, whatever Qt itself runs on.
bool isWaylandSession();

// Whether a compositor draws windows with transparency (always under Wayland; on X11 only when a
// compositing manager runs). Without one, see-through window areas come out black.
bool desktopComposites();

// The back end for this session: X11 when Qt runs on xcb; otherwise a limited platform whose shortcut and
// input do nothing and say why. Needs a QGuiApplication.
std::unique_ptr<Platform> createPlatform();

} // namespace vesk::app
