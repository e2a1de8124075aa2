// How quick the desktop flow feels on a headless Wayland desktop, against the scripted server: from pressing
// Alt+G to the request reaching the provider, and from Return in the panel to the corrected text in the
// editor. On sway (mousepad) the key runs the bound `vesk fix`, which sway also reports over its IPC socket at
// once; on KWin (the Qt test editor, saving every change, since KWin lists no windows) it is the
// GlobalShortcuts portal's, and the keys go through the RemoteDesktop portal. Run by hand:
//
//   tests/support/with-sway.sh build/bench/vesk_wayland_flow_bench [runs]
//   tests/support/with-kwin.sh build/bench/vesk_wayland_flow_bench [runs]
//
// Every run selects the whole document, corrects it, accepts, then undoes the paste and saves.

#include "FlowBenchSupport.h"
#include "e2e/VeskSession.h"
#include "e2e/WaylandDesktop.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <map>
#include <thread>

namespace {

using namespace vesk::e2e;
using namespace vesk::bench;
namespace fs = std::filesystem;

// mousepad's title in sway's tree starts with '*' while the document has unsaved changes.
bool editorModified()
{
    for (const auto& window : windowsOf("mousepad")) {
        if (window.value("name", "").starts_with("*")) {
            return true;
        }
    }
    return false;
}

} // namespace

int main(int argc, char** argv)
{
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 20;
    if (std::getenv("WAYLAND_DISPLAY") == nullptr) {
        std::cerr << "run through tests/support/with-sway.sh or with-kwin.sh\n";
        return 2;
    }
    const bool sway = onSway();
    TimedProvider provider;

    VeskSession session;
    const fs::path& dir = session.directory();
    if (const std::string error = session.configure(provider.url()) + (sway ? bindFixInSway(dir) : "");
        !error.empty()) {
        std::cerr << error << "\n";
        return 1;
    }
    // VESK_BENCH_LOG=<file>: the app's log with every step's time (on the clock of the "pressed" lines this
    // prints) is copied there, to see where the time goes.
    const char* keptLog = std::getenv("VESK_BENCH_LOG");
    std::map<std::string, std::string> environment{{"XDG_CONFIG_HOME", (dir / "config").string()},
                                                   {"XDG_DATA_HOME", (dir / "data").string()},
                                                   {"XDG_CACHE_HOME", (dir / "cache").string()},
                                                   {"XDG_RUNTIME_DIR", (dir / "run").string()}};
    if (keptLog != nullptr) {
        environment.insert({{"QT_LOGGING_RULES", "vesk.*.debug=true"},
                            {"QT_MESSAGE_PATTERN", "%{time boot} %{category}: %{message}"}});
    }
    BackgroundProcess vesk(VESK_BINARY, {}, (dir / "vesk.log").string(), environment);
    // The home window opens at start (no tray); the editor comes after it so that it keeps the focus. On KWin
    // the shortcut and the keys come from the portals, which answer after start-up.
    const std::string awaited = sway ? "Ready" : "Remote desktop keyboard granted";
    waitUntil([&] { return readFile(dir / "vesk.log").find(awaited) != std::string::npos; }, 10s);
    std::this_thread::sleep_for(1s);
    const fs::path document = dir / "notes.txt";
    writeFile(document, typo);
    BackgroundProcess editor(sway ? std::string("mousepad") : std::string(VESK_WAYLAND_QT_EDITOR),
                             sway ? std::vector<std::string>{document.string()}
                                  : std::vector<std::string>{document.string(), "--save-on-change"},
                             (dir / "editor.log").string());
    Keyboard keyboard;
    // KWin does not say which window has the focus: the editor has it once a copy there works.
    const auto editorHasKeys = [&] {
        if (sway) {
            return focusedAppId() == "mousepad";
        }
        std::this_thread::sleep_for(300ms);
        keyboard.press({"ctrl+a", "ctrl+c"});
        return clipboardAs("text/plain") == typo;
    };
    if (!waitUntil(editorHasKeys, 10s)) {
        std::cerr << "set-up failed\n" << describeWindows() << readFile(dir / "vesk.log");
        return 1;
    }
    std::this_thread::sleep_for(2s);
    const auto pasted = [&] { return sway ? editorModified() : readFile(document) == fixedText; };

    std::vector<double> pressToRequest;
    std::vector<double> acceptToText;
    int failures = 0;
    for (int run = 0; run < runs && failures == 0; ++run) {
        const std::size_t before = provider.count();
        keyboard.press({"ctrl+a"});
        const auto pressed = Clock::now();
        keyboard.press({"alt+g"});
        if (keptLog != nullptr) {
            std::printf("pressed %.3f\n", Milliseconds(pressed.time_since_epoch()).count() / 1000);
        }
        if (!waitUntil([&] { return provider.count() > before; }, 5s, 1ms)) {
            std::cerr << "run " << run << ": no request\n";
            ++failures;
            break;
        }
        pressToRequest.push_back(Milliseconds(provider.last() - pressed).count());
        // On KWin the panel's focus cannot be seen; it has it well within the wait for the reply.
        if (sway && !waitUntil([] { return focusedAppId() == "dev.vesk.Vesk"; }, 5s, 5ms)) {
            std::cerr << "run " << run << ": the panel did not take the keys\n";
            ++failures;
            break;
        }
        std::this_thread::sleep_for(sway ? 300ms : 600ms); // the reply has finished streaming
        const auto accepted = Clock::now();
        keyboard.press({"Return"});
        if (!waitUntil(pasted, 5s, 2ms)) {
            std::cerr << "run " << run << ": nothing pasted\n";
            ++failures;
            break;
        }
        acceptToText.push_back(Milliseconds(Clock::now() - accepted).count());
        // Back to the original, saved, for the next run.
        keyboard.press({"ctrl+z", "ctrl+s"});
        if (!waitUntil([&] { return !(sway && editorModified()) && readFile(document) == typo; }, 5s)) {
            std::cerr << "run " << run << ": couldn't put the original back\n";
            ++failures;
        }
        // The correction gives the clipboard back a little after the paste; a person's next press is later.
        std::this_thread::sleep_for(300ms);
    }
    if (keptLog != nullptr) {
        std::filesystem::copy_file(dir / "vesk.log", keptLog, std::filesystem::copy_options::overwrite_existing);
    }
    std::printf("%d run(s), %d failure(s)\n", static_cast<int>(pressToRequest.size()), failures);
    printPercentiles(sway ? "Alt+G (sway binding) -> request" : "Alt+G (the portal shortcut) -> request",
                     pressToRequest);
    printPercentiles("Return -> corrected text in the editor", acceptToText);
    return failures == 0 ? 0 : 1;
}
