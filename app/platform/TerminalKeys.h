#pragma once

// Terminals take Ctrl+C as an interrupt for the program running in them, so copy and paste use each
// terminal's own keys.

#include "app/platform/InputSynthesizer.h"
#include "app/platform/KeyCombination.h"

#include <QString>
#include <optional>

namespace vesk::app {

// Whether `windowClass` (WM_CLASS on X11, compared whole and without case) names a terminal emulator.
bool isTerminalClass(const QString& windowClass);

// The keys that perform `stroke` in a window of `windowClass`: Ctrl+A, Ctrl+C, Ctrl+V in ordinary
// applications, the terminal's own keys in a terminal. None when the window has no key for it (xterm has no
// copy key: selecting text there already puts it in the primary selection).
std::optional<KeyCombination> keysFor(Keystroke stroke, const QString& windowClass);

} // namespace vesk::app
