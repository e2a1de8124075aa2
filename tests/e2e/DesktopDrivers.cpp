// The end-to-end tests' hands on each desktop. X11: keys through XTest (xdotool without --window, which
// would use XSendEvent), windows by their owner's pid, the clipboard through xclip, screenshots of the whole
// screen. sway: the shortcut a sway binding that runs `vesk fix`, as the user sets it up there, keys from a
// virtual keyboard with the seat's keymap, windows from sway's tree. KDE: Vesk registers its shortcut with
// the GlobalShortcuts portal and the keys, Vesk's and the test's, go through the RemoteDesktop portal; KWin
// lists no windows to other programs, but Vesk logs the app its script there hears of.

#include "e2e/DesktopDriver.h"
#ifdef VESK_E2E_WAYLAND
#include "app/platform/wayland/WaylandConnection.h"
#include "app/platform/wayland/WaylandKeyboard.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QKeySequence>
#include <QThread>
#include <nlohmann/json.hpp>
#endif

#include <algorithm>
#include <fstream>
#include <optional>
#include <sstream>
#include <thread>

namespace vesk::e2e {

bool DesktopDriver::holdClipboard(const std::vector<std::string>& formats)
{
    m_owner = std::make_unique<BackgroundProcess>(VESK_CLIPBOARD_OWNER, formats, m_vesk.directory() / "owner.log");
    const auto text = std::find(formats.begin(), formats.end(), "--text");
    const std::string held = text != formats.end() ? *std::next(text) : std::string();
    return waitUntil([&] { return clipboard("text/plain") == held; }, 5s);
}

bool DesktopDriver::openEditor(const Target& editor, const std::string& text)
{
    std::ofstream(m_vesk.document(), std::ios::binary) << text;
    std::vector<std::string> args(editor.command.begin() + 1, editor.command.end());
    args.push_back(m_vesk.document().string());
    m_editor = std::make_unique<BackgroundProcess>(editor.command[0], args, m_vesk.directory() / "editor.log");
    // KWin does not say which window has the focus: the editor has it once a copy there works.
    const auto ready = [&] {
        if (knowsWindows()) {
            return hasFocus(editor);
        }
        std::this_thread::sleep_for(300ms);
        return press({"ctrl+a", "ctrl+c"}).empty() && clipboard("text/plain") == text;
    };
    if (!waitUntil(ready, 15s)) {
        return false;
    }
    // Nobody types into a window in the instant it appears: it may still be setting up its input.
    std::this_thread::sleep_for(300ms);
    return true;
}

std::string DesktopDriver::saveUntil(const Target& editor, const std::string& expected)
{
    std::string content;
    waitUntil(
        [&] {
            content = m_vesk.documentOnDisk();
            if (content != expected && hasFocus(editor)) {
                press({"ctrl+s"});
            }
            return content == expected;
        },
        5s, 150ms);
    return content;
}

namespace {

std::string firstLine(const std::string& text)
{
    return text.substr(0, text.find('\n'));
}

struct WindowInfo
{
    std::string id;       // decimal, as xdotool prints it
    std::string name;     // WM_NAME
    std::string type;     // _NET_WM_WINDOW_TYPE without its prefix: "NORMAL", "UTILITY", ...
    std::string geometry; // "X=... Y=... WIDTH=... HEIGHT=... SCREEN=..."
    bool operator==(const WindowInfo&) const = default;
};

// The window's name, type (from _NET_WM_WINDOW_TYPE(ATOM) = _NET_WM_WINDOW_TYPE_UTILITY[, ...]) and
// geometry (`xdotool getwindowgeometry --shell` prints WINDOW=, X=, Y=, WIDTH=, HEIGHT= lines).
WindowInfo windowInfo(const std::string& id)
{
    WindowInfo window;
    window.id = id;
    window.name = firstLine(runTool("xdotool", {"getwindowname", id}).out);
    const std::string types = runTool("xprop", {"-id", id, "_NET_WM_WINDOW_TYPE"}).out;
    const std::string prefix = "_NET_WM_WINDOW_TYPE_";
    if (const auto at = types.find(prefix, types.find('=')); at != std::string::npos) {
        const auto begin = at + prefix.size();
        window.type = types.substr(begin, types.find_first_of(",\n", begin) - begin);
    }
    window.geometry = runTool("xdotool", {"getwindowgeometry", "--shell", id}).out;
    window.geometry = window.geometry.substr(window.geometry.find_first_of('\n') + 1);
    std::replace(window.geometry.begin(), window.geometry.end(), '\n', ' ');
    return window;
}

// The mapped windows that `search` finds ("--pid", "1234" or "--name", "").
std::vector<WindowInfo> visibleWindows(const std::string& by, const std::string& value)
{
    std::vector<WindowInfo> result;
    std::istringstream ids(runTool("xdotool", {"search", "--onlyvisible", by, value}).out);
    for (std::string id; ids >> id;) {
        result.push_back(windowInfo(id));
    }
    return result;
}

std::string activeWindowName()
{
    return firstLine(runTool("xdotool", {"getactivewindow", "getwindowname"}).out);
}

std::string x11Clipboard(const std::string& target)
{
    return runTool("xclip", {"-o", "-selection", "clipboard", "-t", target}, {}, 5s).out;
}

class X11Driver final : public DesktopDriver
{
public:
    using DesktopDriver::DesktopDriver;

    bool startVesk() override
    {
        const auto hasWindow = [&] { return !runTool("xdotool", {"search", "--pid", pid()}).out.empty(); };
        return m_vesk.start() && waitUntil(hasWindow, 10s, 50ms);
    }

    std::string press(const std::vector<std::string>& strokes) override
    {
        std::vector<std::string> args{"key", "--delay", "40"};
        args.insert(args.end(), strokes.begin(), strokes.end());
        return xdotool(args);
    }
    std::string hold(const std::string& stroke, bool down) override
    {
        return xdotool({down ? "keydown" : "keyup", stroke});
    }

    std::string clipboard(const std::string& mimeType) override
    {
        return x11Clipboard(mimeType == "text/plain" ? "UTF8_STRING" : mimeType);
    }
    bool hasFocus(const Target& target) override
    {
        return activeWindowName().find(target.x11Title) != std::string::npos;
    }
    bool windowShown(const std::string& title) override { return window(title).has_value(); }
    bool editorModified() override { return activeWindowName().starts_with("*"); }
    // Vesk's review panel is a utility window named "Vesk"; its home window an ordinary one of the same name.
    bool panelShown() override { return window("Vesk", "UTILITY").has_value(); }
    // Once the panel has kept its place and size a moment, its content fits the phase.
    bool waitForPanelKeys() override
    {
        std::optional<WindowInfo> last;
        auto since = std::chrono::steady_clock::now();
        return waitUntil(
            [&] {
                const auto now = std::chrono::steady_clock::now();
                const std::optional<WindowInfo> current = window("Vesk", "UTILITY");
                if (!current || current != last) {
                    last = current;
                    since = now;
                    return false;
                }
                return now - since >= 300ms;
            },
            5s, 50ms);
    }
    // With a tray the home window, where the Composer is, starts hidden.
    bool composerOpened() override { return window("Vesk", "NORMAL").has_value(); }

    Target terminal() const override
    {
        return {"Terminal", {"xfce4-terminal", "--disable-server", "--hide-menubar", "--hide-toolbar",
                             "--hide-scrollbar", "--geometry", "80x10", "-x"}, "", "Terminal"};
    }
    bool selectTerminalRow() override
    {
        const std::string window = runTool("xdotool", {"getactivewindow"}).out;
        runTool("xdotool", {"mousemove", "--window", firstLine(window), "40", "8", "click", "--repeat", "3", "--delay",
                            "80", "1"});
        return runTool("xclip", {"-o", "-selection", "primary"}).out.starts_with("teh");
    }

    void photograph(const std::string& name) override { screenshot(name); }
    // Every mapped, named window and the clipboard's targets.
    std::string describe(const std::string& shot) override
    {
        std::ostringstream out;
        out << "active window: \"" << activeWindowName() << "\"\nmapped windows:\n";
        for (const WindowInfo& w : visibleWindows("--name", "")) {
            if (!w.name.empty()) { // not one of the window manager's frame parts
                out << "  " << w.id << " \"" << w.name << "\" " << w.type << " " << w.geometry << "\n";
            }
        }
        out << "clipboard targets:\n" << x11Clipboard("TARGETS") << "screenshot: " << screenshot(shot).string();
        return out.str() + "\n";
    }

private:
    [[nodiscard]] std::string pid() const { return std::to_string(m_vesk.pid()); }
    static std::string xdotool(const std::vector<std::string>& args)
    {
        const test::ProcessResult done = runTool("xdotool", args);
        return done.exitCode == 0 ? std::string() : "xdotool: " + done.err;
    }
    // Vesk's window named `name` (of the type `type` when given).
    std::optional<WindowInfo> window(const std::string& name, const std::string& type = {}) const
    {
        for (WindowInfo& window : visibleWindows("--pid", pid())) {
            if (window.name == name && (type.empty() || window.type == type)) {
                return window;
            }
        }
        return std::nullopt;
    }
    // Saves the whole screen as `<artifacts>/<name>.png` and returns the path.
    static std::filesystem::path screenshot(const std::string& name)
    {
        const std::filesystem::path directory(VESK_E2E_ARTIFACTS);
        std::filesystem::create_directories(directory);
        const std::filesystem::path path = directory / (name + ".png");
        runTool("import", {"-window", "root", path.string()});
        return path;
    }
};

#ifdef VESK_E2E_WAYLAND
constexpr const char* veskAppId = "dev.vesk.Vesk";

// The windows in sway's tree under `node`, tiled or floating (those of one app id).
void collectWindows(const nlohmann::json& node, const std::string& appId, std::vector<nlohmann::json>& windows)
{
    if (node.contains("app_id") && node["app_id"].is_string() && (appId.empty() || node["app_id"] == appId)) {
        windows.push_back(node);
    }
    for (const char* children : {"nodes", "floating_nodes"}) {
        for (const auto& child : node.value(children, nlohmann::json::array())) {
            collectWindows(child, appId, windows);
        }
    }
}

std::vector<nlohmann::json> windowsOf(const std::string& appId = {})
{
    const auto tree = nlohmann::json::parse(runTool("swaymsg", {"-t", "get_tree", "--raw"}).out, nullptr, false);
    std::vector<nlohmann::json> windows;
    if (tree.is_object()) {
        collectWindows(tree, appId, windows);
    }
    return windows;
}

class WaylandDriver final : public DesktopDriver
{
public:
    using DesktopDriver::DesktopDriver;

    bool knowsWindows() const override { return m_sway; }
    // Binds Alt+G in sway to `vesk fix` for this Vesk, as a user binds it in sway's config.
    std::string prepare() override
    {
        if (!m_sway) {
            return {};
        }
        std::string command = "env";
        for (const auto& [name, value] : m_vesk.environment()) {
            command += name.starts_with("XDG_") ? " " + name + "=" + value : "";
        }
        const auto bind = runTool("swaymsg", {"bindsym", "Mod1+g", "exec", command + " " + VESK_BINARY + " fix"});
        return bind.exitCode == 0 ? std::string() : bind.out + bind.err;
    }

    bool startVesk() override
    {
        // On KDE the shortcut and the keyboard come from the portals, which answer after start-up.
        if (!m_vesk.start(m_sway
                              ? std::vector<std::string>{"\nbindsym Mod1+g exec vesk fix"}
                              : std::vector<std::string>{"Shortcut session open", "Remote desktop keyboard granted"})) {
            return false;
        }
        // Without a tray the home window opens at start; the panel is any other window of Vesk's.
        if (m_sway) {
            waitUntil([] { return !windowsOf(veskAppId).empty(); }, 2s);
            for (const auto& window : windowsOf(veskAppId)) {
                m_homeWindows.push_back(window.value("id", 0));
            }
        }
        return true;
    }

    std::string press(const std::vector<std::string>& strokes) override
    {
        if (!m_connection) {
            connectKeyboard();
        }
        for (const std::string& stroke : strokes) {
            const QKeySequence keys =
                QKeySequence::fromString(QString::fromStdString(stroke), QKeySequence::PortableText);
            if (!m_failed.empty() || keys.count() != 1 ||
                !m_keyboard->postKeys({keys[0].key(), keys[0].keyboardModifiers()})) {
                return m_failed.empty() ? "can't press " + stroke : m_failed;
            }
            while (m_keyboard->isSending()) {
                QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
            }
            m_connection->roundTrip();
            QThread::msleep(30);
        }
        return {};
    }

    std::string clipboard(const std::string& mimeType) override
    {
        return runTool("wl-paste", {"--no-newline", "--type", mimeType}, {}, 3s).out;
    }
    // On KWin the terminal's focus is the last activation Vesk's script reported; an editor's is taken as given.
    bool hasFocus(const Target& target) override
    {
        if (m_sway) {
            return anyWindow(target.appId, [](const auto& w) { return w.value("focused", false); });
        }
        if (target.appId != kwinTerminal.appId) {
            return true;
        }
        const std::string log = m_vesk.log();
        const std::string activated = "KWin activated \"" + target.appId + '"';
        const auto last = log.rfind("KWin activated ");
        return last != std::string::npos && log.compare(last, activated.size(), activated) == 0;
    }
    bool windowShown(const std::string& title) override
    {
        return anyWindow(veskAppId, [&](const auto& w) { return w.value("name", "") == title; });
    }
    bool editorModified() override
    {
        return anyWindow(mousepad.appId, [](const auto& w) { return w.value("name", "").starts_with("*"); });
    }
    bool panelShown() override { return m_sway && panel().has_value(); }
    bool waitForPanelKeys() override
    {
        if (!m_sway) {
            std::this_thread::sleep_for(1s);
            return true;
        }
        return waitUntil(
            [&] {
                const auto window = panel();
                return window && window->value("focused", false);
            },
            5s);
    }
    bool composerOpened() override { return m_vesk.log().find("opening the Composer") != std::string::npos; }

    // foot 1.13 dies of KWin's virtual output (its size is unknown): there xfce4-terminal stands in.
    Target terminal() const override { return m_sway ? Target{"Foot", {"foot"}, "foot", ""} : kwinTerminal; }
    // foot's search selects what was typed, and Return keeps the match selected and puts it in the primary;
    // xfce4-terminal has Select All.
    bool selectTerminalRow() override
    {
        std::vector<std::string> strokes{"ctrl+shift+r"};
        for (const char c : typo) {
            strokes.push_back(c == ' ' ? "Space" : std::string(1, c));
        }
        strokes.push_back("Return");
        return press(m_sway ? strokes : std::vector<std::string>{"ctrl+shift+a"}).empty() &&
               runTool("wl-paste", {"--primary", "--no-newline"}, {}, 3s).out.starts_with("teh");
    }

    std::string describe(const std::string& /*shot*/) override
    {
        std::string out = "windows:\n";
        for (const auto& window : windowsOf()) {
            out += "  " + window.value("app_id", "") + " \"" + window.value("name", "") + "\"" +
                   (window.value("focused", false) ? " (focused)" : "") + "\n";
        }
        return out;
    }

private:
    // One keyboard for a whole run, Vesk's own keyboard client in this process: a virtual keyboard with the
    // seat's keymap, or on KDE the RemoteDesktop portal, whose device loses modifiers when sessions come and go.
    void connectKeyboard()
    {
        static int argc = 1;
        static char name[] = "vesk-e2e";
        static char* argv[] = {name, nullptr};
        [[maybe_unused]] static QCoreApplication* application =
            QCoreApplication::instance() ? nullptr : new QCoreApplication(argc, argv);
        m_connection = app::WaylandConnection::connect();
        m_keyboard = m_connection ? std::make_unique<app::WaylandKeyboard>(m_connection) : nullptr;
        // Through the RemoteDesktop portal the keyboard is there once the desktop has granted the session.
        QElapsedTimer waited;
        waited.start();
        while (m_keyboard && m_keyboard->mayPostInput() && !m_keyboard->canPostInput() && waited.elapsed() < 10000) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
        }
        if (!m_keyboard || !m_keyboard->canPostInput()) {
            m_failed = "the desktop offers no virtual keyboard and no remote desktop session";
        }
        // A keyboard that has just been made loses its first keys; KWin's device behind a new remote desktop
        // session takes longer to be ready.
        QThread::msleep(m_connection && m_connection->virtualKeyboards() != nullptr ? 150 : 500);
    }
    static bool anyWindow(const std::string& appId, const std::function<bool(const nlohmann::json&)>& holds)
    {
        const auto windows = windowsOf(appId);
        return std::any_of(windows.begin(), windows.end(), holds);
    }
    [[nodiscard]] std::optional<nlohmann::json> panel() const
    {
        for (const auto& window : windowsOf(veskAppId)) {
            if (std::find(m_homeWindows.begin(), m_homeWindows.end(), window.value("id", 0)) == m_homeWindows.end()) {
                return window;
            }
        }
        return std::nullopt;
    }

    const bool m_sway = std::getenv("SWAYSOCK") != nullptr; // else KWin
    const Target kwinTerminal{"XfceTerminal", {"xfce4-terminal", "--disable-server", "-x"}, "xfce4-terminal", ""};
    std::vector<int> m_homeWindows;
    std::shared_ptr<app::WaylandConnection> m_connection;
    std::unique_ptr<app::WaylandKeyboard> m_keyboard;
    std::string m_failed;
};
#endif

} // namespace

std::unique_ptr<DesktopDriver> DesktopDriver::forThisSession(VeskSession& vesk)
{
#ifdef VESK_E2E_WAYLAND
    if (std::getenv("WAYLAND_DISPLAY") != nullptr) {
        return std::make_unique<WaylandDriver>(vesk);
    }
#endif
    return std::getenv("DISPLAY") != nullptr ? std::make_unique<X11Driver>(vesk) : nullptr;
}

} // namespace vesk::e2e
