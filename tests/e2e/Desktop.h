#pragma once

// The throwaway X11 desktop that with-desktop.sh starts, as the end-to-end tests and the flow benchmark
// drive it: keys through XTest (xdotool without --window, which would use XSendEvent), windows by their
// owner's pid, the clipboard through xclip, and screenshots of the whole screen.

#include "support/Process.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vesk::e2e {

using namespace std::chrono_literals;

// Polls `condition` every `interval` until it holds (true) or `timeout` has passed (false).
bool waitUntil(const std::function<bool()>& condition, std::chrono::milliseconds timeout,
               std::chrono::milliseconds interval = 25ms);

// A program left running while the test goes on (found on PATH), its output appended to `logFile`. Stopped
// (SIGTERM, then SIGKILL) when destroyed.
class BackgroundProcess
{
public:
    BackgroundProcess(const std::string& program, const std::vector<std::string>& args, const std::string& logFile,
                      const std::map<std::string, std::string>& setEnvironment = {});
    ~BackgroundProcess();
    BackgroundProcess(const BackgroundProcess&) = delete;
    BackgroundProcess& operator=(const BackgroundProcess&) = delete;

    [[nodiscard]] int pid() const { return m_pid; }
    // Whether it still runs; reaps it once it has ended.
    bool isRunning();
    // Ends it; its exit status, or -1 when a signal ended it.
    int stop();

private:
    int m_pid = -1;
    int m_status = -1;
};

struct WindowInfo
{
    std::string id;   // decimal, as xdotool prints it
    std::string name; // WM_NAME
    std::string type; // _NET_WM_WINDOW_TYPE without its prefix: "NORMAL", "UTILITY", ...
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    [[nodiscard]] bool sameGeometry(const WindowInfo& other) const
    {
        return x == other.x && y == other.y && width == other.width && height == other.height;
    }
};

// Runs a program found on PATH; the tools are small and quick, so the time-out is short.
test::ProcessResult runTool(const std::string& name, const std::vector<std::string>& args,
                            const std::string& input = {}, std::chrono::milliseconds timeout = 10s);

// Presses and releases `keys` ("alt+g", "ctrl+a", "Return") through XTest, to whatever has focus.
void pressKeys(const std::string& keys);
void keyDown(const std::string& keys);
void keyUp(const std::string& keys);

[[nodiscard]] std::string activeWindowName();
// Mapped windows whose _NET_WM_PID is `pid`.
[[nodiscard]] std::vector<WindowInfo> visibleWindows(int pid);
// Vesk's review panel is a utility window named "Vesk"; its home window an ordinary one of the same name.
[[nodiscard]] std::optional<WindowInfo> reviewPanel(int veskPid);
[[nodiscard]] std::optional<WindowInfo> homeWindow(int veskPid);
// Waits until the panel is shown and has kept its place and size for a moment (its content fits the phase).
bool waitForSettledPanel(int veskPid, std::chrono::milliseconds timeout = 5s);
// Every mapped top-level window, for failure reports.
[[nodiscard]] std::string describeScreen();

// The clipboard's contents in `target` (read from whoever owns it now), and the targets it offers.
[[nodiscard]] std::string clipboard(const std::string& target = "UTF8_STRING");
[[nodiscard]] std::vector<std::string> clipboardTargets();

// Saves the whole screen as `<artifacts>/<name>.png` and returns the path.
std::filesystem::path screenshot(const std::string& name);
[[nodiscard]] std::filesystem::path artifactsDirectory();

// The PNG's pixels as raw RGBA (for comparing images that may have been re-encoded); empty on failure.
[[nodiscard]] std::string pixelsOf(const std::string& png);

[[nodiscard]] std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const std::string& bytes);

// Resident memory (VmRSS, KiB) and CPU time (user + system) of a running process.
[[nodiscard]] std::optional<long> residentKiB(int pid);
[[nodiscard]] std::optional<std::chrono::milliseconds> cpuTime(int pid);

} // namespace vesk::e2e
