#include "app/platform/x11/X11Keys.h"

#include <X11/Xlib.h>
#include <X11/keysym.h>

namespace vesk::app {

unsigned long x11Keysym(int qtKey)
{
    if (qtKey >= Qt::Key_A && qtKey <= Qt::Key_Z) {
        return XK_a + static_cast<unsigned long>(qtKey - Qt::Key_A);
    }
    // Qt numbers the printable Latin-1 keys by their character, as X does.
    if ((qtKey >= 0x20 && qtKey <= 0x7e) || (qtKey >= 0xa0 && qtKey <= 0xff)) {
        return static_cast<unsigned long>(qtKey);
    }
    if (qtKey >= Qt::Key_F1 && qtKey <= Qt::Key_F35) {
        return XK_F1 + static_cast<unsigned long>(qtKey - Qt::Key_F1);
    }
    switch (qtKey) {
    case Qt::Key_Escape:
        return XK_Escape;
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
        return XK_Tab;
    case Qt::Key_Backspace:
        return XK_BackSpace;
    case Qt::Key_Return:
        return XK_Return;
    case Qt::Key_Enter:
        return XK_KP_Enter;
    case Qt::Key_Insert:
        return XK_Insert;
    case Qt::Key_Delete:
        return XK_Delete;
    case Qt::Key_Pause:
        return XK_Pause;
    case Qt::Key_Print:
        return XK_Print;
    case Qt::Key_Home:
        return XK_Home;
    case Qt::Key_End:
        return XK_End;
    case Qt::Key_Left:
        return XK_Left;
    case Qt::Key_Up:
        return XK_Up;
    case Qt::Key_Right:
        return XK_Right;
    case Qt::Key_Down:
        return XK_Down;
    case Qt::Key_PageUp:
        return XK_Prior;
    case Qt::Key_PageDown:
        return XK_Next;
    case Qt::Key_Menu:
        return XK_Menu;
    default:
        return 0;
    }
}

unsigned x11Keycode(_XDisplay* display, int qtKey)
{
    const unsigned long keysym = x11Keysym(qtKey);
    return keysym == 0 ? 0 : XKeysymToKeycode(display, keysym);
}

unsigned x11Modifiers(Qt::KeyboardModifiers modifiers)
{
    unsigned mask = 0;
    if (modifiers & Qt::ShiftModifier) {
        mask |= ShiftMask;
    }
    if (modifiers & Qt::ControlModifier) {
        mask |= ControlMask;
    }
    if (modifiers & Qt::AltModifier) {
        mask |= Mod1Mask;
    }
    if (modifiers & Qt::MetaModifier) {
        mask |= Mod4Mask;
    }
    return mask;
}

} // namespace vesk::app
