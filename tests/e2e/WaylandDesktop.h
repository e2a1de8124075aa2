#pragma once

// The Wayland desktops of with-sway.sh and with-kwin.sh as the tests and the benchmark drive them: keys
// through Vesk's own keyboard client, windows from sway's tree, the clipboard
// through wl-paste.

#include "app/platform/wayland/WaylandConnection.h"
#include "app/platform/wayland/WaylandKeyboard.h"
#include "e2e/Desktop.h"

#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace vesk::e2e {

// Whether the desktop is sway (else KWin, which lists no windows to other programs).
[[nodiscard]] bool onSway();
// sway's windows, tiled or floating, as its tree describes them (those of one app id); the focused one's.
[[nodiscard]] std::vector<nlohmann::json> windowsOf(const std::string& appId = {});
[[nodiscard]] std::string focusedAppId();
[[nodiscard]] std::string describeWindows();
[[nodiscard]] std::string clipboardAs(const std::string& mimeType);
// Binds Alt+G in sway to `vesk fix` for the Vesk whose directories are under `directory`, as a user binds
// it in sway's config; what failed, or empty.
std::string bindFixInSway(const std::filesystem::path& directory);

// One keyboard for a whole run, Vesk's own keyboard client in this process: a virtual keyboard with the
// seat's keymap, or on KDE the RemoteDesktop portal, whose device loses modifiers when sessions come and go.
class Keyboard
{
public:
    Keyboard();
    ~Keyboard();

    // Presses the strokes ("ctrl+a", "alt+g") in turn, to what has focus; what went wrong, or empty.
    std::string press(const std::vector<std::string>& strokes);

private:
    std::shared_ptr<app::WaylandConnection> m_connection;
    std::unique_ptr<app::WaylandKeyboard> m_keyboard;
    std::string m_failed;
};

} // namespace vesk::e2e
