#pragma once

// The X11 back end: key grabs, XTest keystrokes, EWMH windows, on the X connection Qt runs on.

#include "app/platform/Platform.h"

namespace vesk::app {

// Null when Qt does not run on xcb.
std::unique_ptr<Platform> createX11Platform();

} // namespace vesk::app
