#pragma once

// The throwaway X11 desktop of with-desktop.sh as the end-to-end tests and the flow benchmark drive it: keys
// through XTest (xdotool without --window, which would use XSendEvent), windows by their owner's pid, the
// clipboard through xclip, screenshots of the whole screen.

#include "support/Process.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vesk::e2e {

using namespace std::chrono_literals;
using test::BackgroundProcess;
using test::waitUntil;

struct WindowInfo
{
    std::string id;   // decimal, as xdotool prints it
    std::string name; // WM_NAME
    std::string type; // _NET_WM_WINDOW_TYPE without its prefix: "NORMAL", "UTILITY", ...
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

// Runs a program found on PATH; the tools are small and quick, so the time-out is short.
test::ProcessResult runTool(const std::string& name, const std::vector<std::string>& args,
                            const std::string& input = {}, std::chrono::milliseconds timeout = 10s);

// Presses and releases `keys` ("ctrl+a alt+g", "Return") in turn through XTest, to whatever has focus;
// `action` "keydown" or "keyup" only presses or only releases them.
void pressKeys(const std::string& keys, const std::string& action = "key");

[[nodiscard]] std::string activeWindowName();
// Mapped windows whose _NET_WM_PID is `pid`.
[[nodiscard]] std::vector<WindowInfo> visibleWindows(int pid);
// Vesk's review panel is a utility window named "Vesk"; its home window an ordinary one of the same name.
[[nodiscard]] std::optional<WindowInfo> reviewPanel(int veskPid);
[[nodiscard]] std::optional<WindowInfo> homeWindow(int veskPid);
// Waits until the panel is shown and has kept its place and size for a moment (its content fits the phase).
bool waitForSettledPanel(int veskPid, std::chrono::milliseconds timeout = 5s);
// Every mapped, named window and the clipboard's targets, for failure reports.
[[nodiscard]] std::string describeScreen();

[[nodiscard]] std::string clipboard(const std::string& target = "UTF8_STRING");

// Saves the whole screen as `<artifacts>/<name>.png` and returns the path.
std::filesystem::path screenshot(const std::string& name);

[[nodiscard]] std::string readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const std::string& bytes);

} // namespace vesk::e2e
