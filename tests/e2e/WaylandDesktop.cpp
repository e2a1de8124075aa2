#include "e2e/WaylandDesktop.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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

Keyboard::Keyboard(const fs::path& directory) : m_in(directory / "keys.in"), m_out(directory / "keys.out")
{
    mkfifo(m_in.c_str(), 0600);
    mkfifo(m_out.c_str(), 0600);
    m_tool = std::make_unique<BackgroundProcess>(VESK_WAYLAND_TOOL,
                                                 std::vector<std::string>{"serve", m_in.string(), m_out.string()},
                                                 (directory / "keys.log").string());
}

std::string Keyboard::press(const std::vector<std::string>& strokes)
{
    std::string line;
    for (const std::string& stroke : strokes) {
        line += stroke + " ";
    }
    line += "\n";
    // The tool reads once it has its keyboard; opening without a reader fails at once.
    int fd = -1;
    waitUntil([&] { return (fd = ::open(m_in.c_str(), O_WRONLY | O_NONBLOCK)) >= 0 || !m_tool->isRunning(); }, 10s);
    if (fd < 0) {
        return "the key tool is not running";
    }
    const bool written = ::write(fd, line.data(), line.size()) == static_cast<ssize_t>(line.size());
    ::close(fd);
    const int answer = ::open(m_out.c_str(), O_RDONLY | O_NONBLOCK);
    std::string reply;
    waitUntil(
        [&] {
            char buffer[64];
            const ssize_t n = ::read(answer, buffer, sizeof buffer);
            if (n > 0) {
                reply.append(buffer, static_cast<std::size_t>(n));
            }
            return reply.find('\n') != std::string::npos || !m_tool->isRunning();
        },
        10s, 5ms);
    ::close(answer);
    return written && reply == "ok\n" ? std::string() : "keys not pressed: " + reply;
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
