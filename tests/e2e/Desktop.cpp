#include "e2e/Desktop.h"

#include <cstdio>
#include <fstream>
#include <sstream>

namespace vesk::e2e {

namespace {

std::vector<std::string> lines(const std::string& text)
{
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        if (!line.empty()) {
            result.push_back(line);
        }
    }
    return result;
}

std::string firstLine(const std::string& text)
{
    return text.substr(0, text.find('\n'));
}

// The window's name, type (from _NET_WM_WINDOW_TYPE(ATOM) = _NET_WM_WINDOW_TYPE_UTILITY[, ...]) and
// geometry (`xdotool getwindowgeometry --shell` prints WINDOW=, X=, Y=, WIDTH=, HEIGHT= lines, in that order).
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
    const std::string geometry = runTool("xdotool", {"getwindowgeometry", "--shell", id}).out;
    std::sscanf(geometry.c_str(), "WINDOW=%*d X=%d Y=%d WIDTH=%d HEIGHT=%d", &window.x, &window.y, &window.width,
                &window.height);
    return window;
}

std::optional<WindowInfo> windowOf(int pid, const std::string& type, const std::string& name)
{
    for (WindowInfo& window : visibleWindows(pid)) {
        if (window.type == type && window.name == name) {
            return window;
        }
    }
    return std::nullopt;
}

} // namespace

test::ProcessResult runTool(const std::string& name, const std::vector<std::string>& args, const std::string& input,
                            std::chrono::milliseconds timeout)
{
    test::ProcessOptions options;
    options.input = input;
    options.timeout = timeout;
    return test::runProcess(name, args, options);
}

void pressKeys(const std::string& keys, const std::string& action)
{
    std::vector<std::string> args{action};
    std::istringstream strokes(keys);
    for (std::string stroke; strokes >> stroke;) {
        args.push_back(stroke);
    }
    runTool("xdotool", args);
}

std::string activeWindowName()
{
    return firstLine(runTool("xdotool", {"getactivewindow", "getwindowname"}).out);
}

std::vector<WindowInfo> visibleWindows(int pid)
{
    std::vector<WindowInfo> result;
    for (const std::string& id :
         lines(runTool("xdotool", {"search", "--onlyvisible", "--pid", std::to_string(pid)}).out)) {
        result.push_back(windowInfo(id));
    }
    return result;
}

std::optional<WindowInfo> reviewPanel(int veskPid)
{
    return windowOf(veskPid, "UTILITY", "Vesk");
}

std::optional<WindowInfo> homeWindow(int veskPid)
{
    return windowOf(veskPid, "NORMAL", "Vesk");
}

bool waitForSettledPanel(int veskPid, std::chrono::milliseconds timeout)
{
    std::optional<WindowInfo> last;
    auto since = std::chrono::steady_clock::now();
    return waitUntil(
        [&] {
            const auto now = std::chrono::steady_clock::now();
            const std::optional<WindowInfo> current = reviewPanel(veskPid);
            if (!current || !last || current->x != last->x || current->y != last->y || current->width != last->width ||
                current->height != last->height) {
                last = current;
                since = now;
                return false;
            }
            return now - since >= 300ms;
        },
        timeout, 50ms);
}

std::string describeScreen()
{
    std::ostringstream out;
    out << "active window: \"" << activeWindowName() << "\"\nmapped windows:\n";
    for (const std::string& id : lines(runTool("xdotool", {"search", "--onlyvisible", "--name", ""}).out)) {
        const WindowInfo w = windowInfo(id);
        if (!w.name.empty()) { // not one of the window manager's frame parts
            out << "  " << id << " \"" << w.name << "\" " << w.type << " " << w.width << "x" << w.height << "+" << w.x
                << "+" << w.y << "\n";
        }
    }
    out << "clipboard targets:";
    for (const std::string& target : lines(clipboard("TARGETS"))) {
        out << " " << target;
    }
    return out.str() + "\n";
}

std::string clipboard(const std::string& target)
{
    return runTool("xclip", {"-o", "-selection", "clipboard", "-t", target}, {}, 5s).out;
}

std::filesystem::path screenshot(const std::string& name)
{
    const std::filesystem::path directory(VESK_E2E_ARTIFACTS);
    std::filesystem::create_directories(directory);
    const std::filesystem::path path = directory / (name + ".png");
    runTool("import", {"-window", "root", path.string()});
    return path;
}

std::string readFile(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void writeFile(const std::filesystem::path& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

} // namespace vesk::e2e
