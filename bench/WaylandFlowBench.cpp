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

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <thread>

using namespace vesk::e2e;
using namespace vesk::bench;

int main(int argc, char** argv)
{
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 20;
    if (std::getenv("WAYLAND_DISPLAY") == nullptr) {
        std::cerr << "run through tests/support/with-sway.sh or with-kwin.sh\n";
        return 2;
    }
    TimedProvider provider;

    VeskSession session;
    const auto desktop = DesktopDriver::forThisSession(session);
    const bool sway = desktop->knowsWindows();
    if (const std::string error = session.configure(provider.url()) + desktop->prepare(); !error.empty()) {
        std::cerr << error << "\n";
        return 1;
    }
    // VESK_BENCH_LOG=<file>: the app's log, every step's time on the clock of the "pressed" lines this prints,
    // is copied there, to see where the time goes.
    const char* keptLog = std::getenv("VESK_BENCH_LOG");
    // The home window opens at start (no tray); the editor comes after it so that it keeps the focus. On KWin
    // the editor saves every change, since the paste can't be seen in its title there.
    const bool started = desktop->startVesk();
    std::this_thread::sleep_for(1s);
    Target editor = sway ? mousepad : qtEditor;
    if (!sway) {
        editor.command.push_back("--save-on-change");
    }
    if (!started || !desktop->openEditor(editor, typo)) {
        std::cerr << "set-up failed\n" << desktop->describe("bench-failed") << session.log();
        return 1;
    }
    std::this_thread::sleep_for(2s);
    const auto pasted = [&] { return sway ? desktop->editorModified() : session.documentOnDisk() == fixedText; };

    std::vector<double> pressToRequest;
    std::vector<double> acceptToText;
    int failures = 0;
    for (int run = 0; run < runs && failures == 0; ++run) {
        const std::size_t before = provider.count();
        desktop->press({"ctrl+a"});
        const auto pressed = Clock::now();
        desktop->press({"alt+g"});
        if (keptLog != nullptr) {
            std::printf("pressed %.3f\n", Milliseconds(pressed.time_since_epoch()).count() / 1000);
        }
        if (!waitUntil([&] { return provider.count() > before; }, 5s, 1ms)) {
            std::cerr << "run " << run << ": no request\n";
            ++failures;
            break;
        }
        pressToRequest.push_back(Milliseconds(provider.last() - pressed).count());
        // On KWin the panel's focus cannot be seen; the driver gives it a moment, well past the reply.
        if (!desktop->waitForPanelKeys()) {
            std::cerr << "run " << run << ": the panel did not take the keys\n";
            ++failures;
            break;
        }
        std::this_thread::sleep_for(sway ? 300ms : 0ms); // the reply has finished streaming
        const auto accepted = Clock::now();
        desktop->press({"Return"});
        if (!waitUntil(pasted, 5s, 2ms)) {
            std::cerr << "run " << run << ": nothing pasted\n";
            ++failures;
            break;
        }
        acceptToText.push_back(Milliseconds(Clock::now() - accepted).count());
        // Back to the original, saved, for the next run.
        desktop->press({"ctrl+z", "ctrl+s"});
        if (!waitUntil([&] { return !desktop->editorModified() && session.documentOnDisk() == typo; }, 5s)) {
            std::cerr << "run " << run << ": couldn't put the original back\n";
            ++failures;
        }
        // The correction gives the clipboard back a little after the paste; a person's next press is later.
        std::this_thread::sleep_for(300ms);
    }
    if (keptLog != nullptr) {
        std::filesystem::copy_file(session.directory() / "vesk.log", keptLog, std::filesystem::copy_options::overwrite_existing);
    }
    std::printf("%d run(s), %d failure(s)\n", static_cast<int>(pressToRequest.size()), failures);
    printPercentiles(sway ? "Alt+G (sway binding) -> request" : "Alt+G (the portal shortcut) -> request",
                     pressToRequest);
    printPercentiles("Return -> corrected text in the editor", acceptToText);
    return failures == 0 ? 0 : 1;
}
