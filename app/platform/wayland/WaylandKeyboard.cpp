#include "app/platform/wayland/WaylandKeyboard.h"

#include "app/common/Logging.h"
#include "app/platform/TerminalKeys.h"
#include "app/platform/wayland/WaylandConnection.h"
#include "app/platform/wayland/WaylandPortals.h"
#include "virtual-keyboard-unstable-v1-client.h"

#include <QTimer>
#include <ctime>
#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

namespace vesk::app {
namespace {

const wl_seat_listener seatListener = {
    WaylandKeyboard::seatCapabilities,
    [](void*, wl_seat*, const char*) {},
};

const wl_keyboard_listener keyboardListener = {
    WaylandKeyboard::keymapReceived,
    [](void*, wl_keyboard*, uint32_t, wl_surface*, wl_array*) {},
    [](void*, wl_keyboard*, uint32_t, wl_surface*) {},
    [](void*, wl_keyboard*, uint32_t, uint32_t, uint32_t, uint32_t) {},
    [](void*, wl_keyboard*, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t) {},
    [](void*, wl_keyboard*, int32_t, int32_t) {},
};

uint32_t nowMs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint32_t>(now.tv_sec * 1000 + now.tv_nsec / 1000000);
}

} // namespace

uint32_t waylandKeysym(int key)
{
    if (key >= Qt::Key_A && key <= Qt::Key_Z) {
        return XKB_KEY_a + (key - Qt::Key_A);
    }
    if (key >= Qt::Key_0 && key <= Qt::Key_9) {
        return XKB_KEY_0 + (key - Qt::Key_0);
    }
    if (key >= Qt::Key_F1 && key <= Qt::Key_F12) {
        return XKB_KEY_F1 + (key - Qt::Key_F1);
    }
    switch (key) {
    case Qt::Key_Return:
        return XKB_KEY_Return;
    case Qt::Key_Escape:
        return XKB_KEY_Escape;
    case Qt::Key_Insert:
        return XKB_KEY_Insert;
    case Qt::Key_Tab:
        return XKB_KEY_Tab;
    case Qt::Key_Space:
        return XKB_KEY_space;
    default:
        return XKB_KEY_NoSymbol;
    }
}

namespace {

struct KeyOnLayout
{
    xkb_keycode_t keycode = XKB_KEYCODE_INVALID;
    xkb_layout_index_t layout = 0;
};

// The key giving `keysym` without any modifier: on the first layout that has it, so Ctrl+C still finds C
// when the user types in a layout without Latin letters next to one with them.
KeyOnLayout findKey(xkb_keymap* keymap, xkb_keysym_t keysym)
{
    const xkb_keycode_t first = xkb_keymap_min_keycode(keymap);
    const xkb_keycode_t last = xkb_keymap_max_keycode(keymap);
    for (xkb_layout_index_t layout = 0; layout < xkb_keymap_num_layouts(keymap); ++layout) {
        for (xkb_keycode_t keycode = first; keycode <= last; ++keycode) {
            const xkb_keysym_t* symbols = nullptr;
            const int count = xkb_keymap_key_get_syms_by_level(keymap, keycode, layout, 0, &symbols);
            for (int i = 0; i < count; ++i) {
                if (symbols[i] == keysym) {
                    return {keycode, layout};
                }
            }
        }
    }
    return {};
}

// A sealed in-memory file holding `text` and its terminating NUL, as the keymap request wants it.
int keymapFile(const QByteArray& text)
{
    const int fd = memfd_create("vesk-keymap", MFD_CLOEXEC);
    if (fd < 0) {
        return -1;
    }
    const qsizetype size = text.size() + 1;
    if (ftruncate(fd, size) != 0 || write(fd, text.constData(), static_cast<size_t>(size)) != size) {
        close(fd);
        return -1;
    }
    return fd;
}

} // namespace

WaylandKeyboard::WaylandKeyboard(std::shared_ptr<WaylandConnection> connection) : m_connection(std::move(connection))
{
    m_context = xkb_context_new(XKB_CONTEXT_NO_FLAGS);
    if (m_connection->seat() == nullptr || m_context == nullptr) {
        return;
    }
    // The seat shares its keyboard's keymap with every client that asks: that is the user's layout.
    wl_seat_add_listener(m_connection->seat(), &seatListener, this);
    m_connection->roundTrip(); // capabilities
    m_connection->roundTrip(); // the keymap, when the seat has a keyboard
    if (m_keymap == nullptr) {
        // A seat without a keyboard yet (a headless session): the layout the compositor itself would pick,
        // from XKB_DEFAULT_LAYOUT and friends.
        xkb_keymap* keymap = xkb_keymap_new_from_names(m_context, nullptr, XKB_KEYMAP_COMPILE_NO_FLAGS);
        if (keymap == nullptr) {
            qCWarning(lcPlatform) << "No keymap for the virtual keyboard";
            return;
        }
        char* text = xkb_keymap_get_as_string(keymap, XKB_KEYMAP_FORMAT_TEXT_V1);
        xkb_keymap_unref(keymap);
        useKeymap(QByteArray(text));
        free(text);
    }
    if (m_keymap == nullptr) {
        return;
    }
    if (m_connection->virtualKeyboards() == nullptr) {
        // KDE and GNOME keep the virtual keyboard to themselves; their RemoteDesktop portal takes the keys,
        // as evdev codes on the seat's keymap.
        if (portalVersion(QStringLiteral("org.freedesktop.portal.RemoteDesktop")) > 0) {
            m_portal = new RemoteDesktopKeyboard(this);
            m_portal->start([this](bool granted) {
                if (granted) {
                    m_portal->send({modifierReleases()});
                }
            });
        }
        return;
    }
    m_keyboard =
        zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(m_connection->virtualKeyboards(), m_connection->seat());
    uploadKeymap();
    m_connection->roundTrip();
    qCInfo(lcPlatform) << "Virtual keyboard ready with" << xkb_keymap_num_layouts(m_keymap) << "layouts";
}

WaylandKeyboard::~WaylandKeyboard()
{
    if (m_keyboard != nullptr) {
        zwp_virtual_keyboard_v1_destroy(m_keyboard);
    }
    if (m_seatKeyboard != nullptr) {
        wl_keyboard_release(m_seatKeyboard);
    }
    m_connection->flush();
    xkb_keymap_unref(m_keymap);
    xkb_context_unref(m_context);
}

void WaylandKeyboard::seatCapabilities(void* data, wl_seat* seat, uint32_t capabilities)
{
    auto* self = static_cast<WaylandKeyboard*>(data);
    if ((capabilities & WL_SEAT_CAPABILITY_KEYBOARD) != 0 && self->m_seatKeyboard == nullptr) {
        self->m_seatKeyboard = wl_seat_get_keyboard(seat);
        wl_keyboard_add_listener(self->m_seatKeyboard, &keyboardListener, self);
    }
}

void WaylandKeyboard::keymapReceived(void* data, wl_keyboard*, uint32_t format, int32_t fd, uint32_t size)
{
    auto* self = static_cast<WaylandKeyboard*>(data);
    if (format == WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1 && size > 1) {
        void* mapped = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
        if (mapped != MAP_FAILED) {
            // The text ends in a NUL that is part of `size`.
            self->useKeymap(QByteArray(static_cast<const char*>(mapped), static_cast<qsizetype>(size - 1)));
            munmap(mapped, size);
        }
    }
    close(fd);
}

void WaylandKeyboard::useKeymap(const QByteArray& text)
{
    // Our own virtual keyboard's keymap comes back to us once it is the seat's current keyboard.
    if (text == m_keymapText && m_keymap != nullptr) {
        return;
    }
    xkb_keymap* keymap = xkb_keymap_new_from_buffer(m_context, text.constData(), static_cast<size_t>(text.size()),
                                                    XKB_KEYMAP_FORMAT_TEXT_V1, XKB_KEYMAP_COMPILE_NO_FLAGS);
    if (keymap == nullptr) {
        qCWarning(lcPlatform) << "The seat's keymap could not be read";
        return;
    }
    xkb_keymap_unref(m_keymap);
    m_keymap = keymap;
    m_keymapText = text;
    uploadKeymap();
}

void WaylandKeyboard::uploadKeymap()
{
    if (m_keyboard == nullptr) {
        return;
    }
    const int fd = keymapFile(m_keymapText);
    if (fd < 0) {
        qCWarning(lcPlatform) << "No memory file for the keymap";
        return;
    }
    zwp_virtual_keyboard_v1_keymap(m_keyboard, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, fd,
                                   static_cast<uint32_t>(m_keymapText.size() + 1));
    close(fd);
    m_connection->flush();
}

QList<RemoteDesktopKeyboard::KeyEvent> WaylandKeyboard::modifierReleases() const
{
    // KWin can keep a modifier of an ended remote desktop session down; a release of each puts the seat's
    // keyboard back to no modifiers before the first stroke.
    QList<RemoteDesktopKeyboard::KeyEvent> releases;
    for (const xkb_keysym_t keysym : {XKB_KEY_Control_L, XKB_KEY_Control_R, XKB_KEY_Shift_L, XKB_KEY_Shift_R,
                                      XKB_KEY_Alt_L, XKB_KEY_Alt_R, XKB_KEY_Super_L, XKB_KEY_Super_R}) {
        const KeyOnLayout key = findKey(m_keymap, keysym);
        if (key.keycode != XKB_KEYCODE_INVALID) {
            releases.append({key.keycode - 8, false});
        }
    }
    return releases;
}

bool WaylandKeyboard::isSending() const
{
    return m_portal != nullptr && m_portal->isSending();
}

bool WaylandKeyboard::canPostInput() const
{
    return m_keyboard != nullptr || (m_portal != nullptr && m_portal->isStarted());
}

void WaylandKeyboard::whenModifiersReleased(std::function<void()> ready)
{
    // A Wayland client without focus cannot see which keys are down. With a virtual keyboard none needs
    // waiting out: the compositor delivers its keys with that keyboard's own modifier state, so the user's
    // held Alt does not turn the stroke into Ctrl+Alt+C. The portal's keys share the seat's state; there
    // the stroke releases every modifier first.
    QTimer::singleShot(0, this, std::move(ready));
}

bool WaylandKeyboard::post(Keystroke stroke, const std::optional<WindowRef>& target)
{
    const std::optional<KeyCombination> keys = keysFor(stroke, target ? target->windowClass : QString());
    if (!keys) {
        qCDebug(lcPlatform) << "No key for this stroke in" << (target ? target->windowClass : QString());
        return false;
    }
    const bool posted = postKeys(*keys);
    qCDebug(lcPlatform) << "Posted" << keys->displayText() << (posted ? "" : "(failed)");
    if (posted && stroke == Keystroke::paste && m_pasteObserver) {
        m_pasteObserver();
    }
    return posted;
}

bool WaylandKeyboard::postKeys(const KeyCombination& keys)
{
    if (!canPostInput() || m_keymap == nullptr) {
        return false;
    }
    const KeyOnLayout key = findKey(m_keymap, waylandKeysym(keys.key));
    if (key.keycode == XKB_KEYCODE_INVALID) {
        qCWarning(lcPlatform) << "The key isn't on the keyboard layout";
        return false;
    }
    QList<xkb_keycode_t> modifiers;
    const std::pair<Qt::KeyboardModifier, xkb_keysym_t> modifierKeys[] = {
        {Qt::ControlModifier, XKB_KEY_Control_L},
        {Qt::ShiftModifier, XKB_KEY_Shift_L},
        {Qt::AltModifier, XKB_KEY_Alt_L},
        {Qt::MetaModifier, XKB_KEY_Super_L},
    };
    for (const auto& [modifier, keysym] : modifierKeys) {
        if (keys.modifiers & modifier) {
            const KeyOnLayout found = findKey(m_keymap, keysym);
            if (found.keycode == XKB_KEYCODE_INVALID) {
                qCWarning(lcPlatform) << "No key for a modifier on this layout";
                return false;
            }
            modifiers.append(found.keycode);
        }
    }
    if (m_keyboard == nullptr) {
        // The portal's keys join the seat's keyboard, whose own state tracks the modifiers; a modifier the
        // user still holds (the shortcut's Alt) would turn Ctrl+C into Ctrl+Alt+C, and the portal cannot
        // tell which are down, so the others are released as the stroke's own are pressed. Every step is a
        // call answered before the next: the key goes alone, and its release with the modifiers'.
        QList<RemoteDesktopKeyboard::KeyEvent> first;
        QList<RemoteDesktopKeyboard::KeyEvent> last{{key.keycode - 8, false}};
        for (const RemoteDesktopKeyboard::KeyEvent& release : modifierReleases()) {
            if (!modifiers.contains(release.evdevCode + 8)) {
                first.append(release);
            }
        }
        for (const xkb_keycode_t modifier : std::as_const(modifiers)) {
            first.append({modifier - 8, true});
            last.append({modifier - 8, false});
        }
        m_portal->send({first, {{key.keycode - 8, true}}, last});
        return true;
    }
    // The keymap's own state machine works out the modifier masks the keys produce; the group is the
    // layout the key was found on.
    xkb_state* state = xkb_state_new(m_keymap);
    const auto send = [&](xkb_keycode_t keycode, bool down) {
        // Wayland key events carry evdev codes, the keymap's keycodes less 8.
        zwp_virtual_keyboard_v1_key(m_keyboard, nowMs(), keycode - 8,
                                    down ? WL_KEYBOARD_KEY_STATE_PRESSED : WL_KEYBOARD_KEY_STATE_RELEASED);
        xkb_state_update_key(state, keycode, down ? XKB_KEY_DOWN : XKB_KEY_UP);
        zwp_virtual_keyboard_v1_modifiers(m_keyboard, xkb_state_serialize_mods(state, XKB_STATE_MODS_DEPRESSED),
                                          xkb_state_serialize_mods(state, XKB_STATE_MODS_LATCHED),
                                          xkb_state_serialize_mods(state, XKB_STATE_MODS_LOCKED), key.layout);
    };
    for (const xkb_keycode_t modifier : std::as_const(modifiers)) {
        send(modifier, true);
    }
    send(key.keycode, true);
    send(key.keycode, false);
    for (auto it = modifiers.crbegin(); it != modifiers.crend(); ++it) {
        send(*it, false);
    }
    xkb_state_unref(state);
    m_connection->flush();
    return true;
}

} // namespace vesk::app
