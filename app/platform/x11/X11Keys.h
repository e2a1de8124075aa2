#pragma once

// Qt's names for keys and modifiers translated to X11's.

#include <Qt>

struct _XDisplay;

namespace vesk::app {

// The X keysym of a Qt::Key (letters as their lower-case keysym), 0 when there is none.
unsigned long x11Keysym(int qtKey);
// The keycode that carries the key on the current layout, 0 when no key does.
unsigned x11Keycode(_XDisplay* display, int qtKey);
// Shift, Control, Mod1 (Alt) and Mod4 (Super), the mapping every desktop keymap uses.
unsigned x11Modifiers(Qt::KeyboardModifiers modifiers);

} // namespace vesk::app
