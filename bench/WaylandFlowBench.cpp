// How quick the desktop flow feels on headless sway, against the scripted server: from pressing the bound
// Alt+G (sway runs `vesk fix`) to the request reaching the provider, and from Return in the panel to the
// corrected text in mousepad. Run by hand:
//
//   tests/support/with-sway.sh build/tests/vesk_wayland_flow_bench [runs]
//
// Every run selects the whole document, corrects it, accepts, then undoes the paste and saves.

#include "e2e/VeskSession.h"
#include "e2e/WaylandDesktop.h"
#include "support/ScriptedProviderServer.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <mutex>
#include <thread>

namespace {

using namespace vesk::e2e;
using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;
namespace fs = std::filesystem;

const std::string typo = "teh cat sat on teh mat";
const std::string fixedText = "The cat sat on the mat.";

void print(const char* what, std::vector<double> values)
{
    if (values.empty()) {
        return;
    }
    std::sort(values.begin(), values.end());
    const auto at = [&](double q) {
        const auto index = static_cast<std::size_t>(std::ceil(q * static_cast<double>(values.size()))) - 1;
        return values[std::min(index, values.size() - 1)];
    };
    std::printf("%-44s n=%2zu  p50 %7.1f ms  p95 %7.1f ms  max %7.1f ms\n", what, values.size(), at(0.5), at(0.95),
                values.back());
}

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
    if (!onSway()) {
        std::cerr << "run through tests/support/with-sway.sh\n";
        return 2;
    }
    vesk::test::ScriptedProviderServer server;
    std::mutex mutex;
    std::vector<Clock::time_point> arrivals;
    server.respondWith([&](const vesk::test::RecordedRequest&) {
        {
            std::lock_guard lock(mutex);
            arrivals.push_back(Clock::now());
        }
        return vesk::test::ScriptedResponse::events(
            vesk::test::streams::openAI(vesk::test::streams::split(fixedText, 4)));
    });
    const auto arrivalCount = [&] {
        std::lock_guard lock(mutex);
        return arrivals.size();
    };

    VeskSession session;
    const fs::path& dir = session.directory();
    if (const std::string error = session.configure(server.url("")) + bindFixInSway(dir); !error.empty()) {
        std::cerr << error << "\n";
        return 1;
    }
    BackgroundProcess vesk(VESK_BINARY, {}, (dir / "vesk.log").string(),
                           {{"XDG_CONFIG_HOME", (dir / "config").string()},
                            {"XDG_DATA_HOME", (dir / "data").string()},
                            {"XDG_CACHE_HOME", (dir / "cache").string()},
                            {"XDG_RUNTIME_DIR", (dir / "run").string()}});
    // The home window opens at start (no tray); the editor comes after it so that it keeps the focus.
    waitUntil([&] { return readFile(dir / "vesk.log").find("Ready") != std::string::npos; }, 10s);
    waitUntil([] { return !windowsOf("dev.vesk.Vesk").empty(); }, 3s);
    const fs::path document = dir / "notes.txt";
    writeFile(document, typo);
    BackgroundProcess editor("mousepad", {document.string()}, (dir / "editor.log").string());
    Keyboard keyboard(dir);
    if (!waitUntil([] { return focusedAppId() == "mousepad"; }, 10s)) {
        std::cerr << "set-up failed\n" << describeWindows() << readFile(dir / "vesk.log");
        return 1;
    }
    std::this_thread::sleep_for(2s);

    std::vector<double> pressToRequest;
    std::vector<double> acceptToText;
    int failures = 0;
    for (int run = 0; run < runs && failures == 0; ++run) {
        const std::size_t before = arrivalCount();
        keyboard.press({"ctrl+a"});
        const auto pressed = Clock::now();
        keyboard.press({"alt+g"});
        if (!waitUntil([&] { return arrivalCount() > before; }, 5s, 1ms)) {
            std::cerr << "run " << run << ": no request\n";
            ++failures;
            break;
        }
        {
            std::lock_guard lock(mutex);
            pressToRequest.push_back(Milliseconds(arrivals.back() - pressed).count());
        }
        if (!waitUntil([] { return focusedAppId() == "dev.vesk.Vesk"; }, 5s, 5ms)) {
            std::cerr << "run " << run << ": the panel did not take the keys\n";
            ++failures;
            break;
        }
        std::this_thread::sleep_for(300ms); // the reply has finished streaming
        const auto accepted = Clock::now();
        keyboard.press({"Return"});
        if (!waitUntil(editorModified, 5s, 2ms)) {
            std::cerr << "run " << run << ": nothing pasted\n";
            ++failures;
            break;
        }
        acceptToText.push_back(Milliseconds(Clock::now() - accepted).count());
        // Back to the original, saved, for the next run.
        keyboard.press({"ctrl+z", "ctrl+s"});
        if (!waitUntil([&] { return !editorModified() && readFile(document) == typo; }, 5s)) {
            std::cerr << "run " << run << ": couldn't put the original back\n";
            ++failures;
        }
    }
    std::printf("%d run(s), %d failure(s)\n", static_cast<int>(pressToRequest.size()), failures);
    print("Alt+G (sway runs vesk fix) -> request", pressToRequest);
    print("Return -> corrected text in the editor", acceptToText);
    return failures == 0 ? 0 : 1;
}
