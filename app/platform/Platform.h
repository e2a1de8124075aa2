#pragma once

// The platform services the shell uses, from the first back end that serves the session.

#include "app/platform/Clipboard.h"
#include "app/platform/DesktopAppearance.h"
#include "app/platform/GlobalShortcut.h"
#include "app/platform/InputSynthesizer.h"
#include "app/platform/WindowSystem.h"

#include <chrono>
#include <memory>

namespace vesk::app {

struct Platform
{
    std::unique_ptr<GlobalShortcut> shortcut;
    std::unique_ptr<InputSynthesizer> input;
    std::unique_ptr<WindowSystem> windows;
    std::unique_ptr<Clipboard> clipboard;
    std::unique_ptr<DesktopAppearance> appearance;
    // Whether the desktop gives every new window the keyboard when it maps, whatever the window asks (every
    // Wayland compositor): a window of Vesk's shown while the copy stroke is on its way would take the stroke.
    bool newWindowsTakeTheKeyboard = false;
    // How long keys wait after another window was given the focus: on X11 the window manager says a window
    // is active before its toolkit has taken the focus. A Wayland compositor hands keys to the window it
    // focused, in order, so nothing there.
    std::chrono::milliseconds focusSettle{80};
    // Why input cannot be posted in this session (e.g. a Wayland session), empty when it can.
    QString limitation;
};

// A back end's factory: its platform, or null when it cannot serve this session (e.g. the X11 back end when
// Qt does not run on xcb).
using PlatformFactory = std::unique_ptr<Platform> (*)();

// Whether the user's session is a Wayland one, whatever Qt itself runs on.
bool isWaylandSession();

// The first back end built into the app (app/platform/Platform.cmake picks them) that serves this session;
// otherwise the limited platform. Needs a QGuiApplication.
std::unique_ptr<Platform> createPlatform();

} // namespace vesk::app
