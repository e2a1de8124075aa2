// Vesk on a real X11 desktop: the `vesk` binary running in the background, mousepad or xfce4-terminal as
// the program the user writes in, and the scripted provider server on loopback inside this process. Keys
// go through XTest as a keyboard would send them; results are read from the saved file, and the clipboard
// is read while Vesk still runs (it owns the clipboard it restored). Run through with-desktop.sh with a tray.

#include "e2e/Desktop.h"
#include "e2e/VeskSession.h"
#include "support/ParamName.h"
#include "support/Process.h"
#include "support/ScriptedProviderServer.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <iostream>
#include <memory>
#include <thread>

namespace vesk::e2e {
namespace {

using test::ProcessResult;
using test::RecordedRequest;
using test::ScriptedResponse;
namespace streams = test::streams;
namespace fs = std::filesystem;
using test::operator<<;

const std::string typo = "teh cat sat on teh mat";
const std::string fixedText = "The cat sat on the mat.";

ScriptedResponse reply(const std::string& text, std::chrono::milliseconds gap = 0ms)
{
    return ScriptedResponse::events(streams::openAI(streams::split(text, 4)), gap);
}

class DesktopFlowTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_NE(std::getenv("DISPLAY"), nullptr) << "run through tests/support/with-desktop.sh";
        const std::string error = m_vesk.configure(m_server.url(""));
        ASSERT_EQ(error, "");
    }

    void TearDown() override
    {
        if (HasFailure()) {
            const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
            std::string name = std::string("failed-") + info->test_suite_name() + "-" + info->name();
            std::replace(name.begin(), name.end(), '/', '-');
            const fs::path shot = screenshot(name);
            std::cerr << describeScreen() << "screenshot: " << shot.string() << "\n--- vesk log ---\n"
                      << m_vesk.log() << "--- end of vesk log ---\n";
        }
        m_terminal.reset();
        m_owner.reset();
    }

    void startVesk() { ASSERT_TRUE(m_vesk.start()) << "vesk did not start:\n" << m_vesk.log(); }

    void startEditor(const std::string& text) { ASSERT_TRUE(m_vesk.openEditor(text)) << describeScreen(); }

    // The editor has the focus back and its document stays unmodified and on disk as it was.
    void expectEditorUntouched(const std::string& original) const
    {
        EXPECT_TRUE(waitUntil([&] { return m_vesk.isEditorActive(); }, 3s)) << "focus went back to the editor";
        // A paste would land within a few tens of milliseconds of the focus change.
        EXPECT_FALSE(waitUntil(VeskSession::isEditorModified, 500ms)) << "the document was changed";
        EXPECT_EQ(m_vesk.documentOnDisk(), original);
    }

    // Once the file holds `expected`, nothing else arrives later (a late reply pasted after all).
    void expectSavedForGood(const std::string& expected) const
    {
        EXPECT_EQ(m_vesk.saveUntil(expected), expected);
        const auto changed = [&] { return m_vesk.documentOnDisk() != expected || VeskSession::isEditorModified(); };
        EXPECT_FALSE(waitUntil(changed, 1500ms, 100ms)) << "file: \"" << m_vesk.documentOnDisk() << "\"";
    }

    [[nodiscard]] std::optional<WindowInfo> panel() const { return reviewPanel(m_vesk.pid()); }
    [[nodiscard]] std::optional<WindowInfo> home() const { return homeWindow(m_vesk.pid()); }
    [[nodiscard]] bool waitForSettledPanel() const { return e2e::waitForSettledPanel(m_vesk.pid()); }

    bool waitForPanelGone(std::chrono::milliseconds timeout = 3s) const
    {
        return waitUntil([&] { return !panel(); }, timeout, 50ms);
    }

    // Puts formats on the clipboard from a separate program and waits until the clipboard offers `target`.
    void holdClipboard(const std::vector<std::string>& args, const std::string& target)
    {
        m_owner = std::make_unique<BackgroundProcess>(VESK_CLIPBOARD_OWNER, args,
                                                      (m_vesk.directory() / "owner.log").string());
        ASSERT_TRUE(waitUntil(
            [&] {
                const auto targets = clipboardTargets();
                return std::find(targets.begin(), targets.end(), target) != targets.end();
            },
            5s))
            << readFile(m_vesk.directory() / "owner.log");
    }

    // Presses Return in the settled panel. The panel's size says nothing about a slow reply still
    // streaming, and Return waits for the finished correction, so it is pressed again while the panel stays.
    void acceptInPanel() const
    {
        pressKeys("Return");
        const bool closed = waitUntil(
            [&] {
                if (waitForPanelGone(700ms)) {
                    return true;
                }
                pressKeys("Return");
                return false;
            },
            5s, 0ms);
        EXPECT_TRUE(closed) << "Return did not close the panel";
    }

    test::ScriptedProviderServer m_server;
    VeskSession m_vesk;
    std::unique_ptr<BackgroundProcess> m_owner;
    std::unique_ptr<BackgroundProcess> m_terminal;
};

// What the user had on the clipboard before the correction; all of it must be back afterwards. The
// correction is started by the shortcut or by `vesk fix`, and reviewed in the panel or pasted at once.
// Every way copies from the editor and pastes the correction back. That each format (an image's PNG bytes
// among them) comes back byte for byte is X11ClipboardTest's; here plain and rich text stand for the rest.
enum class Trigger {
    shortcut,
    shortcutWithAltHeld, // Alt held after G: a copy stroke now would reach the editor as Ctrl+Alt+C
    fixCommand,
};

struct ClipboardCase
{
    const char* name;
    std::string text;
    std::string html;
    Trigger trigger = Trigger::shortcut;
    bool review = true;
};

class AcceptedCorrectionTest : public DesktopFlowTest, public ::testing::WithParamInterface<ClipboardCase>
{
};

TEST_P(AcceptedCorrectionTest, ReplacesTheSelectionAndRestoresTheClipboard)
{
    const ClipboardCase& c = GetParam();
    std::vector<std::string> ownerArgs;
    if (!c.text.empty()) {
        ownerArgs.insert(ownerArgs.end(), {"--text", c.text});
    }
    if (!c.html.empty()) {
        ownerArgs.insert(ownerArgs.end(), {"--html", c.html});
    }
    ASSERT_NO_FATAL_FAILURE(holdClipboard(ownerArgs, c.html.empty() ? "UTF8_STRING" : "text/html"));
    if (!c.review) {
        ASSERT_EQ(m_vesk.run({"settings", "--review", "off"}).exitCode, 0);
    }
    m_server.respondWith([](const RecordedRequest&) { return reply(fixedText); });
    ASSERT_NO_FATAL_FAILURE(startVesk());
    ASSERT_NO_FATAL_FAILURE(startEditor(typo));

    pressKeys("ctrl+a");
    if (c.trigger == Trigger::fixCommand) {
        const ProcessResult fix = m_vesk.run({"fix"});
        EXPECT_EQ(fix.exitCode, 0) << fix.err;
    } else if (c.trigger == Trigger::shortcutWithAltHeld) {
        keyDown("alt");
        pressKeys("g");
        EXPECT_FALSE(m_server.waitForRequests(1, 400ms)) << "sent while Alt was still held";
        keyUp("alt");
    } else {
        pressKeys("alt+g");
    }
    ASSERT_TRUE(m_server.waitForRequests(1, 5s)) << "no request reached the provider";
    EXPECT_NE(m_server.requests().at(0).body.find(typo), std::string::npos) << "the selection was sent";
    if (c.review) {
        ASSERT_TRUE(waitForSettledPanel()) << "the review panel did not show";
        acceptInPanel();
    }
    EXPECT_EQ(m_vesk.saveUntil(fixedText), fixedText);
    EXPECT_FALSE(panel());

    if (!c.text.empty()) {
        EXPECT_TRUE(waitUntil([&] { return clipboard("UTF8_STRING") == c.text; }, 2s))
            << "clipboard text: \"" << clipboard("UTF8_STRING") << "\"";
    }
    if (!c.html.empty()) {
        EXPECT_TRUE(waitUntil([&] { return clipboard("text/html") == c.html; }, 2s))
            << "clipboard html: \"" << clipboard("text/html") << "\"";
    }
}

INSTANTIATE_TEST_SUITE_P(
    Clipboard, AcceptedCorrectionTest,
    ::testing::Values(ClipboardCase{"PlainText", "what the user copied before", ""},
                      ClipboardCase{"RichText", "Bold and plain",
                                    "<meta charset=\"utf-8\"><b>Bold</b> and <i>plain</i> — ünïcode"},
                      ClipboardCase{"CopiesOnlyOnceAHeldAltIsReleased", "kept", "", Trigger::shortcutWithAltHeld},
                      ClipboardCase{"FixCommandDoesWhatTheShortcutDoes", "kept", "", Trigger::fixCommand},
                      ClipboardCase{"WithoutReviewTheCorrectionReplacesAtOnce", "kept", "", Trigger::shortcut, false}),
    test::ParamName());

TEST_F(DesktopFlowTest, NothingSelectedOpensTheComposer)
{
    ASSERT_NO_FATAL_FAILURE(startVesk());
    ASSERT_NO_FATAL_FAILURE(startEditor(""));
    ASSERT_FALSE(home()) << "with a tray the home window starts hidden";

    pressKeys("alt+g");
    EXPECT_TRUE(waitUntil([&] { return home().has_value(); }, 5s)) << "the home window did not open";
    screenshot("home-write");
    EXPECT_EQ(m_server.requests().size(), 0U);
    EXPECT_FALSE(panel());
}

// A second press while the first correction still streams: only the correction the last request asked for
// is pasted. Pressed twice in quick succession, the first press may be dropped before it sends anything;
// pressed once the panel has the keyboard, it copies the editor's selection again.
struct SecondPressCase
{
    const char* name;
    std::chrono::milliseconds firstReplyGap; // slow enough to be streaming still when the second press comes
    bool onceThePanelShows;
};

class SecondPressTest : public DesktopFlowTest, public ::testing::WithParamInterface<SecondPressCase>
{
};

TEST_P(SecondPressTest, OnlyTheLastCorrectionLands)
{
    const std::string second = "The cat sat on the mat!";
    std::atomic<int> served = 0;
    m_server.respondWith([&](const RecordedRequest&) {
        return served++ == 0 ? reply(fixedText, GetParam().firstReplyGap) : reply(second);
    });
    ASSERT_NO_FATAL_FAILURE(startVesk());
    ASSERT_NO_FATAL_FAILURE(startEditor(typo));

    pressKeys("ctrl+a");
    if (GetParam().onceThePanelShows) {
        pressKeys("alt+g");
        ASSERT_TRUE(m_server.waitForRequests(1, 5s));
        ASSERT_TRUE(waitUntil([&] { return panel().has_value(); }, 2s));
        pressKeys("alt+g");
        ASSERT_TRUE(m_server.waitForRequests(2, 5s)) << "the second press asked for nothing";
        EXPECT_NE(m_server.requests().at(1).body.find(typo), std::string::npos)
            << "the second press copied from the editor";
    } else {
        runTool("xdotool", {"key", "--delay", "40", "alt+g", "alt+g"});
        ASSERT_TRUE(m_server.waitForRequests(1, 5s));
        m_server.waitForRequests(2, 1s);
    }
    ASSERT_TRUE(waitForSettledPanel());
    acceptInPanel();
    RecordProperty("requests", static_cast<int>(m_server.requests().size()));
    expectSavedForGood(m_server.requests().size() >= 2 ? second : fixedText);
    EXPECT_FALSE(panel());
}

INSTANTIATE_TEST_SUITE_P(DesktopFlow, SecondPressTest,
                         ::testing::Values(SecondPressCase{"QuickSecondPressWins", 150ms, false},
                                           SecondPressCase{"PressWhileStreamingReplacesTheFirst", 300ms, true}),
                         test::ParamName());

// A terminal copies with Ctrl+Shift+C; Ctrl+C would interrupt the program running in it.
TEST_F(DesktopFlowTest, TerminalSelectionIsCopiedWithoutInterrupting)
{
    m_server.respondWith([](const RecordedRequest&) { return reply(fixedText); });
    ASSERT_NO_FATAL_FAILURE(startVesk());
    const fs::path marker = m_vesk.directory() / "interrupted";
    const fs::path started = m_vesk.directory() / "started";
    const std::string script = "trap 'echo INTERRUPTED >> " + marker.string() + "' INT; touch " + started.string() +
                               "; echo '" + typo + "'; sleep 60";
    m_terminal = std::make_unique<BackgroundProcess>(
        "xfce4-terminal",
        std::vector<std::string>{"--disable-server", "--hide-menubar", "--hide-toolbar", "--hide-scrollbar",
                                 "--geometry", "80x10", "-x", "sh", "-c", script},
        (m_vesk.directory() / "terminal.log").string());
    ASSERT_TRUE(waitUntil([&] { return fs::exists(started) && activeWindowName().starts_with("Terminal"); }, 10s))
        << describeScreen();

    // A triple click on the first row selects the line the script printed.
    const std::string terminal = runTool("xdotool", {"getactivewindow"}).out;
    runTool("xdotool", {"mousemove", "--window", terminal.substr(0, terminal.find('\n')), "40", "8", "click",
                        "--repeat", "3", "--delay", "80", "1"});
    ASSERT_TRUE(waitUntil(
        [] {
            return runTool("xclip", {"-o", "-selection", "primary"}).out.starts_with("teh");
        },
        2s))
        << "the terminal selected nothing";

    pressKeys("alt+g");
    ASSERT_TRUE(m_server.waitForRequests(1, 5s)) << "nothing was copied from the terminal";
    EXPECT_NE(m_server.requests().at(0).body.find(typo), std::string::npos);
    ASSERT_TRUE(waitForSettledPanel());
    screenshot("terminal-panel");
    pressKeys("Escape");
    EXPECT_TRUE(waitForPanelGone());
    EXPECT_TRUE(waitUntil([] { return activeWindowName().starts_with("Terminal"); }, 3s));
    EXPECT_FALSE(waitUntil([&] { return fs::exists(marker); }, 300ms)) << "the program got SIGINT";
    EXPECT_TRUE(m_terminal->isRunning());
}

// `vesk fix` and a second launch go to the running instance; without one, `vesk fix` says so.
TEST_F(DesktopFlowTest, CommandsFindTheRunningInstance)
{
    const ProcessResult fix = m_vesk.run({"fix"});
    EXPECT_EQ(fix.exitCode, 1);
    EXPECT_EQ(fix.out, "");
    EXPECT_NE(fix.err.find("isn't running"), std::string::npos) << fix.err;

    ASSERT_NO_FATAL_FAILURE(startVesk());
    ASSERT_FALSE(home());
    const ProcessResult second = m_vesk.run({});
    EXPECT_EQ(second.exitCode, 0) << second.err;
    EXPECT_TRUE(waitUntil([&] { return home().has_value(); }, 5s)) << "the home window did not show";
    EXPECT_TRUE(m_vesk.isRunning());
}

// Walks the panel through its phases slowly enough to see each, and saves a screenshot of every one:
// a slow correction dismissed with Escape, an unchanged text closed with Return, a rejected key dismissed
// with Escape. None of them touches the editor's text, and each gives the focus back.
TEST_F(DesktopFlowTest, PanelPhases)
{
    std::atomic<int> served = 0;
    std::atomic<std::chrono::steady_clock::time_point::rep> firstArrival = 0;
    m_server.respondWith([&](const RecordedRequest&) {
        switch (served++) {
        case 0: {
            firstArrival = std::chrono::steady_clock::now().time_since_epoch().count();
            ScriptedResponse slow = reply(fixedText, 300ms);
            slow.headDelay = 1200ms; // reading: nothing has come back yet
            return slow;
        }
        case 1:
            return reply(typo); // the same text back: nothing to change
        default:
            return ScriptedResponse::text(401, "application/json",
                                          streams::openAIErrorBody("Incorrect API key provided: sk-e2e-***cdef."));
        }
    });
    ASSERT_NO_FATAL_FAILURE(startVesk());
    ASSERT_NO_FATAL_FAILURE(startEditor(typo));
    const auto correct = [&](int request) {
        pressKeys("ctrl+a");
        pressKeys("alt+g");
        return m_server.waitForRequests(request, 5s);
    };

    ASSERT_TRUE(correct(1));
    const auto arrived =
        std::chrono::steady_clock::time_point(std::chrono::steady_clock::duration(firstArrival.load()));
    ASSERT_TRUE(waitUntil([&] { return panel().has_value(); }, 1s)) << "no panel while reading";
    screenshot("phase-reading");
    std::this_thread::sleep_until(arrived + 1200ms + 2 * 300ms + 100ms); // head, then two pieces
    ASSERT_TRUE(panel());
    screenshot("phase-writing");
    ASSERT_TRUE(waitUntil([&] { return std::chrono::steady_clock::now() > arrived + 4s; }, 5s));
    ASSERT_TRUE(waitForSettledPanel());
    screenshot("phase-result");
    pressKeys("Escape");
    ASSERT_TRUE(waitForPanelGone());
    expectEditorUntouched(typo);

    ASSERT_TRUE(correct(2));
    ASSERT_TRUE(waitForSettledPanel());
    screenshot("phase-no-changes");
    pressKeys("Return"); // closes when there is nothing to change
    EXPECT_TRUE(waitForPanelGone());
    expectEditorUntouched(typo);

    ASSERT_TRUE(correct(3));
    ASSERT_TRUE(waitForSettledPanel()) << "the panel did not show the error";
    screenshot("phase-error");
    pressKeys("Escape");
    EXPECT_TRUE(waitForPanelGone());
    expectEditorUntouched(typo);
}

} // namespace
} // namespace vesk::e2e
