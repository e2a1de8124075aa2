#pragma once

// The Wayland back end: Vesk's own connection to the compositor, with the protocols the desktop offers.

#include "app/platform/KeyCombination.h"
#include "app/platform/Platform.h"

#include <memory>

namespace vesk::app {

// The platform for a Wayland session, or nullptr when no compositor answers or it offers neither a
// virtual keyboard nor clipboard access (the caller then falls back to a limited platform).
std::unique_ptr<Platform> createWaylandPlatform();

// What the user does on `desktop` (XDG_CURRENT_DESKTOP) so that `combination` runs `vesk fix`, for
// desktops that do not let an app register a shortcut: sway's bind line, Hyprland's, or where to look.
QString compositorBindInstructions(const QString& desktop, const KeyCombination& combination);

} // namespace vesk::app
