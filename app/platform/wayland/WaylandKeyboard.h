#pragma once

// Synthetic keystrokes through the compositor's virtual keyboard protocol (wlroots desktops: sway,
// Hyprland, labwc). One virtual keyboard lives as long as the app: a new one loses its first keys. It
// carries the user's own keymap and sends the keycodes that layout has for each key, since toolkits (GTK
// above all) translate keycodes through the keymap themselves.

#include "app/platform/InputSynthesizer.h"
#include "app/platform/KeyCombination.h"
#include "app/platform/wayland/WaylandPortals.h"

#include <QByteArray>
#include <QObject>
#include <functional>
#include <memory>

struct wl_keyboard;
struct wl_seat;
struct xkb_context;
struct xkb_keymap;
struct zwp_virtual_keyboard_v1;

namespace vesk::app {

class WaylandConnection;

// The keysym a Qt key stands for (letters as lower case, what the key gives without Shift); 0 for keys
// Vesk never sends.
uint32_t waylandKeysym(int qtKey);

class WaylandKeyboard : public QObject, public InputSynthesizer
{
    Q_OBJECT

public:
    explicit WaylandKeyboard(std::shared_ptr<WaylandConnection> connection);
    ~WaylandKeyboard() override;

    // With the compositor's virtual keyboard at once; through the RemoteDesktop portal once the desktop
    // granted the session (asked for at start-up where the compositor has no virtual keyboard).
    bool canPostInput() const override;
    // Whether keystrokes can be had here at all, now or once the portal answers.
    [[nodiscard]] bool mayPostInput() const { return m_keyboard != nullptr || m_portal != nullptr; }
    void whenModifiersReleased(std::function<void()> ready) override;
    bool post(Keystroke stroke, const std::optional<WindowRef>& target) override;
    // Presses and releases `keys` as one stroke. False when a key is on no key of the keymap.
    bool postKeys(const KeyCombination& keys);
    // Whether keys posted through the portal are still on their way to the desktop.
    [[nodiscard]] bool isSending() const;
    // Called after every paste stroke, so the clipboard knows when the target will come for the text.
    void setPasteObserver(std::function<void()> observer) { m_pasteObserver = std::move(observer); }

    // The keymap's text in use, the seat's own when the compositor shared one.
    [[nodiscard]] const QByteArray& keymapText() const { return m_keymapText; }

private:
    void useKeymap(const QByteArray& text);
    void uploadKeymap();
    [[nodiscard]] QList<RemoteDesktopKeyboard::KeyEvent> modifierReleases() const;

public:
    // Event handlers of the listener tables.
    static void seatCapabilities(void* data, wl_seat* seat, uint32_t capabilities);
    static void keymapReceived(void* data, wl_keyboard* keyboard, uint32_t format, int32_t fd, uint32_t size);

private:
    std::shared_ptr<WaylandConnection> m_connection;
    xkb_context* m_context = nullptr;
    xkb_keymap* m_keymap = nullptr;
    QByteArray m_keymapText;
    wl_keyboard* m_seatKeyboard = nullptr;
    zwp_virtual_keyboard_v1* m_keyboard = nullptr;
    RemoteDesktopKeyboard* m_portal = nullptr;
    std::function<void()> m_pasteObserver;
};

} // namespace vesk::app
