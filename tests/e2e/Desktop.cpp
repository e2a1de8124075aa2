#include "e2e/Desktop.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace vesk::e2e {

namespace {

std::string findOnPath(const std::string& name)
{
    const char* path = std::getenv("PATH");
    std::istringstream directories(path != nullptr ? path : "/usr/bin:/bin");
    std::string directory;
    while (std::getline(directories, directory, ':')) {
        const std::filesystem::path candidate = std::filesystem::path(directory) / name;
        if (access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
    }
    return name;
}

std::vector<std::string> lines(const std::string& text)
{
    std::vector<std::string> result;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        if (!line.empty()) {
            result.push_back(line);
        }
    }
    return result;
}

// `xdotool getwindowgeometry --shell` prints X=, Y=, WIDTH=, HEIGHT= lines.
void readGeometry(WindowInfo& window)
{
    for (const std::string& line : lines(runTool("xdotool", {"getwindowgeometry", "--shell", window.id}).out)) {
        const auto eq = line.find('=');
        if (eq == std::string::npos) {
            continue;
        }
        const std::string name = line.substr(0, eq);
        const int value = std::atoi(line.c_str() + eq + 1);
        if (name == "X") {
            window.x = value;
        } else if (name == "Y") {
            window.y = value;
        } else if (name == "WIDTH") {
            window.width = value;
        } else if (name == "HEIGHT") {
            window.height = value;
        }
    }
}

std::string windowType(const std::string& id)
{
    // _NET_WM_WINDOW_TYPE(ATOM) = _NET_WM_WINDOW_TYPE_UTILITY[, ...]
    const std::string out = runTool("xprop", {"-id", id, "_NET_WM_WINDOW_TYPE"}).out;
    const std::string prefix = "_NET_WM_WINDOW_TYPE_";
    const auto at = out.find(prefix, out.find('='));
    if (at == std::string::npos) {
        return {};
    }
    const auto begin = at + prefix.size();
    const auto end = out.find_first_of(",\n", begin);
    return out.substr(begin, end == std::string::npos ? std::string::npos : end - begin);
}

} // namespace

BackgroundProcess::BackgroundProcess(const std::string& program, const std::vector<std::string>& args,
                                     const std::string& logFile,
                                     const std::map<std::string, std::string>& setEnvironment)
{
    std::vector<std::string> argv{program};
    argv.insert(argv.end(), args.begin(), args.end());
    std::vector<std::string> envp;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        const std::string variable(*entry);
        if (!setEnvironment.contains(variable.substr(0, variable.find('=')))) {
            envp.push_back(variable);
        }
    }
    for (const auto& [name, value] : setEnvironment) {
        envp.push_back(name + "=" + value);
    }
    const auto pointers = [](std::vector<std::string>& strings) {
        std::vector<char*> result;
        for (auto& s : strings) {
            result.push_back(s.data());
        }
        result.push_back(nullptr);
        return result;
    };
    auto argvPointers = pointers(argv);
    auto envpPointers = pointers(envp);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, logFile.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    pid_t pid = -1;
    if (posix_spawnp(&pid, program.c_str(), &actions, nullptr, argvPointers.data(), envpPointers.data()) == 0) {
        m_pid = pid;
    }
    posix_spawn_file_actions_destroy(&actions);
}

BackgroundProcess::~BackgroundProcess()
{
    stop();
}

bool BackgroundProcess::isRunning()
{
    if (m_pid <= 0) {
        return false;
    }
    int status = 0;
    if (waitpid(m_pid, &status, WNOHANG) == m_pid) {
        m_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        m_pid = -1;
        return false;
    }
    return true;
}

int BackgroundProcess::stop()
{
    if (!isRunning()) {
        return m_status;
    }
    kill(m_pid, SIGTERM);
    if (!waitUntil([this] { return !isRunning(); }, 2s, 20ms)) {
        kill(m_pid, SIGKILL);
        int status = 0;
        waitpid(m_pid, &status, 0);
        m_pid = -1;
        m_status = -1;
    }
    return m_status;
}

bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout,
               std::chrono::milliseconds interval)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (true) {
        if (condition()) {
            return true;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(interval);
    }
}

test::ProcessResult runTool(const std::string& name, const std::vector<std::string>& args, const std::string& input,
                            std::chrono::milliseconds timeout)
{
    test::ProcessOptions options;
    options.input = input;
    options.timeout = timeout;
    return test::runProcess(findOnPath(name), args, options);
}

void pressKeys(const std::string& keys)
{
    runTool("xdotool", {"key", keys});
}

void keyDown(const std::string& keys)
{
    runTool("xdotool", {"keydown", keys});
}

void keyUp(const std::string& keys)
{
    runTool("xdotool", {"keyup", keys});
}

std::string activeWindowName()
{
    std::string name = runTool("xdotool", {"getactivewindow", "getwindowname"}).out;
    while (!name.empty() && name.back() == '\n') {
        name.pop_back();
    }
    return name;
}

std::vector<WindowInfo> visibleWindows(int pid)
{
    std::vector<WindowInfo> result;
    for (const std::string& id :
         lines(runTool("xdotool", {"search", "--onlyvisible", "--pid", std::to_string(pid)}).out)) {
        WindowInfo window;
        window.id = id;
        window.name = runTool("xdotool", {"getwindowname", id}).out;
        while (!window.name.empty() && window.name.back() == '\n') {
            window.name.pop_back();
        }
        window.type = windowType(id);
        readGeometry(window);
        result.push_back(std::move(window));
    }
    return result;
}

namespace {

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
            if (!current || !last || !current->sameGeometry(*last)) {
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
        WindowInfo window;
        window.id = id;
        window.name = runTool("xdotool", {"getwindowname", id}).out;
        if (!window.name.empty() && window.name.back() == '\n') {
            window.name.pop_back();
        }
        if (window.name.empty()) {
            continue; // the window manager's frame parts
        }
        window.type = windowType(id);
        readGeometry(window);
        out << "  " << id << " \"" << window.name << "\" " << window.type << " " << window.width << "x" << window.height
            << "+" << window.x << "+" << window.y << "\n";
    }
    out << "clipboard targets:";
    for (const std::string& target : clipboardTargets()) {
        out << " " << target;
    }
    out << "\n";
    return out.str();
}

std::string clipboard(const std::string& target)
{
    return runTool("xclip", {"-o", "-selection", "clipboard", "-t", target}, {}, 5s).out;
}

std::vector<std::string> clipboardTargets()
{
    return lines(clipboard("TARGETS"));
}

std::filesystem::path artifactsDirectory()
{
    const std::filesystem::path directory(VESK_E2E_ARTIFACTS);
    std::filesystem::create_directories(directory);
    return directory;
}

std::filesystem::path screenshot(const std::string& name)
{
    const std::filesystem::path path = artifactsDirectory() / (name + ".png");
    runTool("import", {"-window", "root", path.string()});
    return path;
}

std::string pixelsOf(const std::string& png)
{
    const test::ProcessResult r = runTool("convert", {"png:-", "-depth", "8", "rgba:-"}, png);
    return r.exitCode == 0 ? r.out : std::string();
}

std::string readFile(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void writeFile(const std::filesystem::path& path, const std::string& bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << bytes;
}

std::optional<long> residentKiB(int pid)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmRSS:", 0) == 0) {
            return std::atol(line.c_str() + 6);
        }
    }
    return std::nullopt;
}

std::optional<std::chrono::milliseconds> cpuTime(int pid)
{
    // Fields 14 and 15 of /proc/<pid>/stat, counted after the parenthesised command name (which may hold
    // spaces).
    const std::string stat = readFile("/proc/" + std::to_string(pid) + "/stat");
    const auto close = stat.rfind(')');
    if (close == std::string::npos) {
        return std::nullopt;
    }
    std::istringstream fields(stat.substr(close + 2));
    std::string field;
    long ticks = 0;
    for (int index = 3; index <= 15 && fields >> field; ++index) {
        if (index == 14 || index == 15) {
            ticks += std::atol(field.c_str());
        }
    }
    return std::chrono::milliseconds(ticks * 1000 / sysconf(_SC_CLK_TCK));
}

} // namespace vesk::e2e
