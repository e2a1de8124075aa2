#include "app/platform/x11/X11InputSynthesizer.h"

#include "app/common/Logging.h"
#include "app/platform/PollUntil.h"
#include "app/platform/TerminalKeys.h"
#include "app/platform/x11/X11Display.h"
#include "app/platform/x11/X11Keys.h"

#include <QElapsedTimer>
#include <QList>
#include <QTimer>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <memory>

namespace vesk::app {
namespace {

// The keycodes bound to any modifier (Shift, Lock, Control, Mod1-5), read fresh since layouts change.
QList<KeyCode> modifierKeycodes(Display* display)
{
    QList<KeyCode> keycodes;
    XModifierKeymap* map = XGetModifierMapping(display);
    if (!map) {
        return keycodes;
    }
    for (int i = 0; i < 8 * map->max_keypermod; ++i) {
        if (map->modifiermap[i] != 0 && !keycodes.contains(map->modifiermap[i])) {
            keycodes.append(map->modifiermap[i]);
        }
    }
    XFreeModifiermap(map);
    return keycodes;
}

QList<KeyCode> heldKeycodes(Display* display, const QList<KeyCode>& candidates)
{
    char keys[32] = {};
    XQueryKeymap(display, keys);
    QList<KeyCode> held;
    for (const KeyCode keycode : candidates) {
        if (keys[keycode / 8] & (1 << (keycode % 8))) {
            held.append(keycode);
        }
    }
    return held;
}

// Resolves keysyms against the server's current keymap instead of Xlib's cache, which never hears of
// layout changes on Qt's connection. Prefers a key where the symbol needs no Shift.
class KeymapLookup
{
public:
    explicit KeymapLookup(Display* display) : m_display(display)
    {
        XDisplayKeycodes(display, &m_minKeycode, &m_maxKeycode);
        m_symbols = XGetKeyboardMapping(display, static_cast<KeyCode>(m_minKeycode), m_maxKeycode - m_minKeycode + 1,
                                        &m_perKeycode);
    }
    ~KeymapLookup()
    {
        if (m_symbols) {
            XFree(m_symbols);
        }
    }
    KeymapLookup(const KeymapLookup&) = delete;
    KeymapLookup& operator=(const KeymapLookup&) = delete;

    KeyCode find(KeySym keysym) const
    {
        if (!m_symbols) {
            return XKeysymToKeycode(m_display, keysym);
        }
        for (int column = 0; column < m_perKeycode; ++column) {
            for (int keycode = m_minKeycode; keycode <= m_maxKeycode; ++keycode) {
                if (symbolAt(keycode, column) == keysym) {
                    return static_cast<KeyCode>(keycode);
                }
            }
        }
        return 0;
    }

    // A keycode with no symbols at all, free to carry a symbol the layout lacks for one stroke.
    KeyCode spare() const
    {
        for (int keycode = m_maxKeycode; m_symbols && keycode >= m_minKeycode; --keycode) {
            bool empty = true;
            for (int column = 0; column < m_perKeycode && empty; ++column) {
                empty = symbolAt(keycode, column) == NoSymbol;
            }
            if (empty) {
                return static_cast<KeyCode>(keycode);
            }
        }
        return 0;
    }

private:
    KeySym symbolAt(int keycode, int column) const
    {
        return m_symbols[(keycode - m_minKeycode) * m_perKeycode + column];
    }

    Display* m_display;
    int m_minKeycode = 8;
    int m_maxKeycode = 255;
    int m_perKeycode = 0;
    KeySym* m_symbols = nullptr;
};

} // namespace

X11InputSynthesizer::X11InputSynthesizer(_XDisplay* display) : m_display(display ? display : qtX11Display())
{
    int eventBase = 0;
    int errorBase = 0;
    int major = 0;
    int minor = 0;
    m_hasXTest = m_display && XTestQueryExtension(m_display, &eventBase, &errorBase, &major, &minor);
    if (m_display && !m_hasXTest) {
        qCWarning(lcPlatform) << "The X server has no XTest extension; Vesk can't post keystrokes";
    }
}

X11InputSynthesizer::~X11InputSynthesizer() = default;

void X11InputSynthesizer::whenModifiersReleased(std::function<void()> ready)
{
    if (!m_hasXTest) {
        QTimer::singleShot(0, &m_timers, std::move(ready));
        return;
    }
    const QList<KeyCode> modifiers = modifierKeycodes(m_display);
    auto elapsed = std::make_shared<QElapsedTimer>();
    elapsed->start();
    pollUntil(
        &m_timers, pollInterval, modifierWait,
        [this, modifiers] { return heldKeycodes(m_display, modifiers).isEmpty(); },
        [this, modifiers, elapsed, ready = std::move(ready)](bool released) {
            if (!released) {
                // A key still down after this long is stuck or held on purpose; either way a Ctrl+C sent now
                // would arrive as Ctrl+Alt+C, so it is released for the stroke.
                const QList<KeyCode> held = heldKeycodes(m_display, modifiers);
                qCInfo(lcPlatform) << "Releasing" << held.size() << "modifier keys still held after"
                                   << elapsed->elapsed() << "ms";
                for (const KeyCode keycode : held) {
                    XTestFakeKeyEvent(m_display, keycode, False, CurrentTime);
                }
                XFlush(m_display);
            }
            ready();
        });
}

bool X11InputSynthesizer::post(Keystroke stroke, const std::optional<WindowRef>& target)
{
    const std::optional<KeyCombination> keys = keysFor(stroke, target ? target->windowClass : QString());
    if (!keys) {
        qCDebug(lcPlatform) << "No key for this stroke in" << (target ? target->windowClass : QString());
        return false;
    }
    return postKeys(*keys);
}

bool X11InputSynthesizer::postKeys(const KeyCombination& keys)
{
    if (!m_hasXTest) {
        return false;
    }
    const KeymapLookup keymap(m_display);
    QList<KeyCode> modifiers;
    const std::pair<Qt::KeyboardModifier, KeySym> modifierKeys[] = {
        {Qt::ControlModifier, XK_Control_L},
        {Qt::ShiftModifier, XK_Shift_L},
        {Qt::AltModifier, XK_Alt_L},
        {Qt::MetaModifier, XK_Super_L},
    };
    for (const auto& [modifier, keysym] : modifierKeys) {
        if (keys.modifiers & modifier) {
            const KeyCode keycode = keymap.find(keysym);
            if (keycode == 0) {
                qCWarning(lcPlatform) << "No key for a modifier on this layout";
                return false;
            }
            modifiers.append(keycode);
        }
    }
    const KeySym keysym = x11Keysym(keys.key);
    KeyCode keycode = keysym == 0 ? 0 : keymap.find(keysym);
    KeyCode lent = 0;
    if (keycode == 0 && keysym != 0) {
        // A layout without Latin letters: put the symbol on an unused keycode for this one stroke.
        lent = keymap.spare();
        KeySym symbols[] = {keysym, keysym};
        if (lent == 0 ||
            withX11ErrorsCaught(m_display, [&] { XChangeKeyboardMapping(m_display, lent, 2, symbols, 1); }) != 0) {
            qCWarning(lcPlatform) << "The key isn't on the current layout and no keycode is free to carry it";
            return false;
        }
        keycode = lent;
    }
    if (keycode == 0) {
        return false;
    }
    for (const KeyCode modifier : std::as_const(modifiers)) {
        XTestFakeKeyEvent(m_display, modifier, True, CurrentTime);
    }
    XTestFakeKeyEvent(m_display, keycode, True, CurrentTime);
    XTestFakeKeyEvent(m_display, keycode, False, CurrentTime);
    for (auto it = modifiers.crbegin(); it != modifiers.crend(); ++it) {
        XTestFakeKeyEvent(m_display, *it, False, CurrentTime);
    }
    XFlush(m_display);
    if (lent != 0) {
        // The target translates the keycode when it reads the event, so the loan is ended a little later.
        QTimer::singleShot(200, &m_timers, [display = m_display, lent] {
            KeySym nothing[] = {NoSymbol};
            XChangeKeyboardMapping(display, lent, 1, nothing, 1);
            XFlush(display);
        });
    }
    return true;
}

} // namespace vesk::app
