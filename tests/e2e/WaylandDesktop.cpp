#include "e2e/WaylandDesktop.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QKeySequence>
#include <QThread>
#include <cstdlib>

namespace vesk::e2e {

namespace fs = std::filesystem;

// Every window in sway's tree, tiled or floating.
static void collectWindows(const nlohmann::json& node, std::vector<nlohmann::json>& windows)
{
    if (node.contains("app_id") && !node["app_id"].is_null()) {
        windows.push_back(node);
    }
    for (const char* children : {"nodes", "floating_nodes"}) {
        if (node.contains(children)) {
            for (const auto& child : node[children]) {
                collectWindows(child, windows);
            }
        }
    }
}

bool onSway()
{
    return std::getenv("SWAYSOCK") != nullptr;
}

std::vector<nlohmann::json> windowsOf(const std::string& appId)
{
    const auto tree = nlohmann::json::parse(runTool("swaymsg", {"-t", "get_tree", "--raw"}).out, nullptr, false);
    std::vector<nlohmann::json> windows;
    if (!tree.is_discarded()) {
        collectWindows(tree, windows);
    }
    std::erase_if(windows, [&](const auto& w) { return !appId.empty() && w.value("app_id", "") != appId; });
    return windows;
}

std::string focusedAppId()
{
    for (const auto& window : windowsOf()) {
        if (window.value("focused", false)) {
            return window.value("app_id", "");
        }
    }
    return {};
}

std::string describeWindows()
{
    std::string out = "windows:\n";
    for (const auto& window : windowsOf()) {
        out += "  " + window.value("app_id", "") + " \"" + window.value("name", "") + "\"" +
               (window.value("focused", false) ? " (focused)" : "") + "\n";
    }
    return out;
}

Keyboard::Keyboard()
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

Keyboard::~Keyboard() = default;

std::string Keyboard::press(const std::vector<std::string>& strokes)
{
    for (const std::string& stroke : strokes) {
        const QKeySequence keys = QKeySequence::fromString(QString::fromStdString(stroke), QKeySequence::PortableText);
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

std::string clipboardAs(const std::string& mimeType)
{
    return runTool("wl-paste", {"--no-newline", "--type", mimeType}, {}, 3s).out;
}

std::string bindFixInSway(const fs::path& dir)
{
    const std::string command = "env XDG_CONFIG_HOME=" + (dir / "config").string() +
                                " XDG_DATA_HOME=" + (dir / "data").string() +
                                " XDG_CACHE_HOME=" + (dir / "cache").string() +
                                " XDG_RUNTIME_DIR=" + (dir / "run").string() + " " + VESK_BINARY + " fix";
    const auto bind = runTool("swaymsg", {"bindsym", "Mod1+g", "exec", command});
    return bind.exitCode == 0 ? std::string() : bind.out + bind.err;
}

} // namespace vesk::e2e
