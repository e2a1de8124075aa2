#pragma once

// The back end for sessions where Vesk cannot grab keys or post input (a Wayland session without a back end
// of its own, a headless run): the shortcut and the input do nothing and say why.

#include "app/platform/Platform.h"

namespace vesk::app {

// Never null. Needs a QGuiApplication.
std::unique_ptr<Platform> createLimitedPlatform();

} // namespace vesk::app
