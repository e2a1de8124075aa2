// How quick the desktop flow feels, measured on the throwaway desktop against the scripted server:
// from letting go of Alt+G to the request reaching the provider, and from Return in the panel to the
// corrected text in the editor and the user's clipboard back; then the memory of the running app (at the
// start, and idle after 20 corrections: just after, and once the closed review panel has been released) and
// its CPU while idle. Run by hand:
//
//   VESK_DESKTOP_TRAY=1 tests/support/with-desktop.sh build/bench/vesk_flow_bench [runs, default 20]
//
// Every run selects the whole document in mousepad, corrects it, accepts, and types the original back.

#include "FlowBenchSupport.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <thread>
#include <unistd.h>

namespace {

using namespace vesk::e2e;
using namespace vesk::bench;

const std::string userClipboard = "what the user had copied";
// The memory goal is stated for the idle app after this many corrections.
constexpr int correctionsBeforeIdleMemory = 20;
// The app keeps the closed review panel's window for the next press for this long (QmlWindow::idleRelease),
// then lets it go.
constexpr auto panelReleased = 10s;

// CPU time (user + system) of a running process.
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
        if (index >= 14) {
            ticks += std::atol(field.c_str());
        }
    }
    return std::chrono::milliseconds(ticks * 1000 / sysconf(_SC_CLK_TCK));
}

} // namespace

int main(int argc, char** argv)
{
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : correctionsBeforeIdleMemory;
    if (std::getenv("DISPLAY") == nullptr) {
        std::cerr << "run through tests/support/with-desktop.sh\n";
        return 2;
    }

    TimedProvider provider;

    VeskSession session;
    const auto desktop = DesktopDriver::forThisSession(session);
    if (const std::string error = session.configure(provider.url()); !error.empty()) {
        std::cerr << error << "\n";
        return 1;
    }
    const auto clipboard = [&] { return desktop->clipboard("text/plain"); };
    if (!desktop->holdClipboard({"--text", userClipboard}) || !desktop->startVesk() ||
        !desktop->openEditor(mousepad, typo)) {
        std::cerr << "set-up failed\n" << desktop->describe("bench-failed") << session.log();
        return 1;
    }

    std::this_thread::sleep_for(3s);
    const auto startedRss = Resident::of(session.pid());

    // xdotool's own start-up sits between the two clocks: measured from before it starts and from after it
    // has sent the release, the true figure lies between.
    std::vector<double> releaseToRequest;
    std::vector<double> releasedToRequest;
    std::vector<double> acceptToText;
    std::vector<double> acceptToClipboard;
    int failures = 0;
    std::optional<Resident> rssAfterCorrections;
    std::optional<Resident> rssIdleAfterCorrections;
    for (int run = 0; run < runs; ++run) {
        const std::size_t before = provider.count();
        desktop->press({"ctrl+a"});
        desktop->hold("alt+g", true);
        const auto released = Clock::now();
        desktop->hold("alt+g", false);
        const auto releaseSent = Clock::now();
        if (!waitUntil([&] { return provider.count() > before; }, 5s, 1ms)) {
            std::cerr << "run " << run << ": no request\n";
            ++failures;
            break;
        }
        releaseToRequest.push_back(Milliseconds(provider.last() - released).count());
        releasedToRequest.push_back(Milliseconds(provider.last() - releaseSent).count());
        if (!desktop->waitForPanelKeys()) {
            std::cerr << "run " << run << ": no panel\n";
            ++failures;
            break;
        }
        const auto accepted = Clock::now();
        desktop->press({"Return"});
        // The correction is on the clipboard until the paste has been fetched; then the user's comes back.
        const bool pasted = waitUntil([&] { return desktop->editorModified(); }, 5s, 2ms);
        const auto textArrived = Clock::now();
        const bool restored = waitUntil([&] { return clipboard() == userClipboard; }, 5s, 2ms);
        const auto clipboardBack = Clock::now();
        if (!pasted || !restored) {
            std::cerr << "run " << run << ": " << (pasted ? "clipboard not restored" : "nothing pasted") << "\n";
            ++failures;
            break;
        }
        acceptToText.push_back(Milliseconds(textArrived - accepted).count());
        acceptToClipboard.push_back(Milliseconds(clipboardBack - accepted).count());
        if (desktop->saveUntil(mousepad, fixedText) != fixedText) {
            std::cerr << "run " << run << ": the file holds \"" << session.documentOnDisk() << "\"\n";
            ++failures;
            break;
        }
        // Back to the original for the next run.
        desktop->press({"ctrl+a"});
        runTool("xdotool", {"type", "--delay", "2", typo});
        if (desktop->saveUntil(mousepad, typo) != typo) {
            std::cerr << "run " << run << ": couldn't put the original back\n";
            ++failures;
            break;
        }
        if (run + 1 == correctionsBeforeIdleMemory) {
            std::this_thread::sleep_for(3s);
            rssAfterCorrections = Resident::of(session.pid());
            std::this_thread::sleep_for(panelReleased);
            rssIdleAfterCorrections = Resident::of(session.pid());
        }
    }

    std::this_thread::sleep_for(3s);
    const auto idleRss = Resident::of(session.pid());
    const auto cpuBefore = cpuTime(session.pid());
    const auto idleStart = Clock::now();
    std::this_thread::sleep_for(10s);
    const auto cpuAfter = cpuTime(session.pid());
    const double idleSeconds = std::chrono::duration<double>(Clock::now() - idleStart).count();

    std::printf("%d run(s), %d failure(s)\n", static_cast<int>(releaseToRequest.size()), failures);
    printPercentiles("shortcut released -> request (from keyup start)", releaseToRequest);
    printPercentiles("shortcut released -> request (from keyup end)", releasedToRequest);
    printPercentiles("Return -> corrected text in the editor", acceptToText);
    printPercentiles("Return -> user's clipboard back", acceptToClipboard);
    printResident("resident memory, 3 s after start", startedRss);
    if (rssAfterCorrections) {
        const std::string after = std::to_string(correctionsBeforeIdleMemory) + " corrections";
        printResident("resident memory, 3 s after " + after, rssAfterCorrections);
        printResident("resident memory, idle after " + after, rssIdleAfterCorrections);
    }
    printResident("resident memory, idle after the runs", idleRss);
    if (cpuBefore && cpuAfter) {
        const double cpuMs = static_cast<double>((*cpuAfter - *cpuBefore).count());
        std::printf("%-52s %.0f ms over %.1f s (%.2f%% of one core)\n", "CPU while idle", cpuMs, idleSeconds,
                    cpuMs / (idleSeconds * 10.0));
    }
    return failures == 0 ? 0 : 1;
}
