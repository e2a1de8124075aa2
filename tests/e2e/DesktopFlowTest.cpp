// Vesk on a real X11 desktop: the `vesk` binary in the background, mousepad or xfce4-terminal as the program
// the user writes in, keys through XTest as a keyboard would send them. Results are read from the saved
// file, and the clipboard while Vesk still runs (it owns the clipboard it restored). Run through
// with-desktop.sh with a tray.

#include "e2e/FlowTest.h"

#include <atomic>
#include <thread>

namespace vesk::e2e {
namespace {

using test::operator<<;

class DesktopFlowTest : public FlowTest
{
protected:
    void SetUp() override
    {
        ASSERT_NE(std::getenv("DISPLAY"), nullptr) << "run through tests/support/with-desktop.sh";
        ASSERT_EQ(m_vesk.configure(m_server.url("")), "");
    }

    void startVesk() { ASSERT_TRUE(m_vesk.start()) << "vesk did not start"; }
    void startEditor(const std::string& text) { ASSERT_TRUE(m_vesk.openEditor(text)) << "no editor"; }
    [[nodiscard]] std::optional<WindowInfo> panel() const { return reviewPanel(m_vesk.pid()); }
    [[nodiscard]] std::optional<WindowInfo> home() const { return homeWindow(m_vesk.pid()); }
    [[nodiscard]] bool waitForSettledPanel() const { return e2e::waitForSettledPanel(m_vesk.pid()); }
    bool waitForPanelGone(std::chrono::milliseconds timeout = 3s) const
    {
        return waitUntil([&] { return !panel(); }, timeout, 50ms);
    }

    // Selects the whole document and presses the shortcut; whether request `n` reached the provider.
    bool correct(std::size_t n = 1)
    {
        pressKeys("ctrl+a alt+g");
        return m_server.waitForRequests(n, 5s);
    }

    // The editor has the focus back and its document stays unmodified and on disk as it was.
    void expectEditorUntouched() const
    {
        EXPECT_TRUE(waitUntil([&] { return m_vesk.isEditorActive(); }, 3s)) << "focus went back to the editor";
        // A paste would land within a few tens of milliseconds of the focus change.
        EXPECT_FALSE(waitUntil(VeskSession::isEditorModified, 500ms)) << "the document was changed";
        EXPECT_EQ(m_vesk.documentOnDisk(), typo);
    }

    // Return in the settled panel, pressed again while the panel stays: its size says nothing about a slow
    // reply still streaming, and Return waits for the finished correction.
    void acceptInPanel() const
    {
        const bool closed = waitUntil(
            [&] {
                pressKeys("Return");
                return waitForPanelGone(700ms);
            },
            5s, 0ms);
        EXPECT_TRUE(closed) << "Return did not close the panel";
    }

    std::unique_ptr<BackgroundProcess> m_helper; // the clipboard's owner, or the terminal
};

// The user's clipboard comes back, whether the correction was started by the shortcut or by `vesk fix`,
// reviewed in the panel or pasted at once. That each format (an image's PNG bytes among them) comes back
// byte for byte is X11ClipboardTest's; here rich text with its plain text stands for the rest.
class AcceptedCorrectionTest : public DesktopFlowTest, public ::testing::WithParamInterface<ClipboardCase>
{
};

TEST_P(AcceptedCorrectionTest, ReplacesTheSelectionAndRestoresTheClipboard)
{
    const ClipboardCase& c = GetParam();
    std::vector<std::string> held{"--text", c.text};
    if (!c.html.empty()) {
        held.insert(held.end(), {"--html", c.html});
    }
    m_helper = std::make_unique<BackgroundProcess>(VESK_CLIPBOARD_OWNER, held, m_vesk.directory() / "owner.log");
    ASSERT_TRUE(waitUntil([&] { return clipboard() == c.text; }, 5s)) << "the clipboard was not taken";
    ASSERT_EQ(m_vesk.run({"settings", "--review", c.review ? "on" : "off"}).exitCode, 0);
    m_server.respondWith([](const RecordedRequest&) { return reply(fixedText); });
    ASSERT_NO_FATAL_FAILURE(startVesk());
    ASSERT_NO_FATAL_FAILURE(startEditor(typo));

    pressKeys("ctrl+a");
    if (c.trigger == Trigger::fixCommand) {
        const test::ProcessResult fix = m_vesk.run({"fix"});
        EXPECT_EQ(fix.exitCode, 0) << fix.err;
    } else if (c.trigger == Trigger::shortcutWithAltHeld) {
        pressKeys("alt", "keydown");
        pressKeys("g");
        EXPECT_FALSE(m_server.waitForRequests(1, 400ms)) << "sent while Alt was still held";
        pressKeys("alt", "keyup");
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
    for (const auto& [target, bytes] : {std::pair{"UTF8_STRING", c.text}, std::pair{"text/html", c.html}}) {
        EXPECT_TRUE(bytes.empty() || waitUntil([&] { return clipboard(target) == bytes; }, 2s))
            << target << ": \"" << clipboard(target) << "\"";
    }
}

INSTANTIATE_TEST_SUITE_P(
    Clipboard, AcceptedCorrectionTest,
    ::testing::Values(ClipboardCase{"RichText", "Bold and plain",
                                    "<meta charset=\"utf-8\"><b>Bold</b> and <i>plain</i> — ünïcode"},
                      ClipboardCase{"CopiesOnlyOnceAHeldAltIsReleased", "kept", "", true, Trigger::shortcutWithAltHeld},
                      ClipboardCase{"FixCommandDoesWhatTheShortcutDoes", "kept", "", true, Trigger::fixCommand},
                      ClipboardCase{"WithoutReviewTheCorrectionReplacesAtOnce", "kept", "", false}),
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
class SecondPressTest : public DesktopFlowTest, public ::testing::WithParamInterface<SecondPressCase>
{
};

TEST_P(SecondPressTest, OnlyTheLastCorrectionLands)
{
    std::atomic<int> served = 0;
    m_server.respondWith([&](const RecordedRequest&) {
        return served++ == 0 ? reply(fixedText, GetParam().firstReplyGap) : reply(secondFix);
    });
    ASSERT_NO_FATAL_FAILURE(startVesk());
    ASSERT_NO_FATAL_FAILURE(startEditor(typo));

    if (GetParam().onceThePanelShows) {
        ASSERT_TRUE(correct());
        ASSERT_TRUE(waitUntil([&] { return panel().has_value(); }, 2s));
        pressKeys("alt+g");
        ASSERT_TRUE(m_server.waitForRequests(2, 5s)) << "the second press asked for nothing";
        EXPECT_NE(m_server.requests().at(1).body.find(typo), std::string::npos)
            << "the second press copied from the editor";
    } else {
        pressKeys("ctrl+a");
        runTool("xdotool", {"key", "--delay", "40", "alt+g", "alt+g"});
        ASSERT_TRUE(m_server.waitForRequests(1, 5s));
        m_server.waitForRequests(2, 1s);
    }
    ASSERT_TRUE(waitForSettledPanel());
    acceptInPanel();
    const std::string expected = m_server.requests().size() >= 2 ? secondFix : fixedText;
    EXPECT_EQ(m_vesk.saveUntil(expected), expected);
    // Nothing else arrives later (a late reply pasted after all).
    const auto changed = [&] { return m_vesk.documentOnDisk() != expected || VeskSession::isEditorModified(); };
    EXPECT_FALSE(waitUntil(changed, 1500ms, 100ms)) << "file: \"" << m_vesk.documentOnDisk() << "\"";
}

INSTANTIATE_TEST_SUITE_P(DesktopFlow, SecondPressTest, ::testing::ValuesIn(secondPressCases), test::ParamName());

// A terminal copies with Ctrl+Shift+C; Ctrl+C would interrupt the program running in it.
TEST_F(DesktopFlowTest, TerminalSelectionIsCopiedWithoutInterrupting)
{
    m_server.respondWith([](const RecordedRequest&) { return reply(fixedText); });
    ASSERT_NO_FATAL_FAILURE(startVesk());
    const fs::path marker = m_vesk.directory() / "interrupted";
    const std::string script = "trap 'echo INTERRUPTED >> " + marker.string() + "' INT; echo '" + typo + "'; sleep 60";
    m_helper = std::make_unique<BackgroundProcess>(
        "xfce4-terminal",
        std::vector<std::string>{"--disable-server", "--hide-menubar", "--hide-toolbar", "--hide-scrollbar",
                                 "--geometry", "80x10", "-x", "sh", "-c", script},
        m_vesk.directory() / "terminal.log");
    const auto terminalActive = [] { return activeWindowName().starts_with("Terminal"); };
    ASSERT_TRUE(waitUntil(terminalActive, 10s));

    // A triple click on the first row selects the line the script printed.
    ASSERT_TRUE(waitUntil(
        [] {
            const std::string terminal = runTool("xdotool", {"getactivewindow"}).out;
            runTool("xdotool", {"mousemove", "--window", terminal.substr(0, terminal.find('\n')), "40", "8", "click",
                                "--repeat", "3", "--delay", "80", "1"});
            return runTool("xclip", {"-o", "-selection", "primary"}).out.starts_with("teh");
        },
        5s, 500ms))
        << "the terminal selected nothing";

    pressKeys("alt+g");
    ASSERT_TRUE(m_server.waitForRequests(1, 5s)) << "nothing was copied from the terminal";
    EXPECT_NE(m_server.requests().at(0).body.find(typo), std::string::npos);
    ASSERT_TRUE(waitForSettledPanel());
    screenshot("terminal-panel");
    pressKeys("Escape");
    EXPECT_TRUE(waitForPanelGone());
    EXPECT_TRUE(waitUntil(terminalActive, 3s));
    EXPECT_FALSE(waitUntil([&] { return fs::exists(marker); }, 300ms)) << "the program got SIGINT";
    EXPECT_TRUE(m_helper->isRunning());
}

// `vesk fix` and a second launch go to the running instance; without one, `vesk fix` says so.
TEST_F(DesktopFlowTest, CommandsFindTheRunningInstance)
{
    const test::ProcessResult fix = m_vesk.run({"fix"});
    EXPECT_EQ(fix.exitCode, 1);
    EXPECT_NE(fix.err.find("isn't running"), std::string::npos) << fix.err;

    ASSERT_NO_FATAL_FAILURE(startVesk());
    ASSERT_FALSE(home());
    EXPECT_EQ(m_vesk.run({}).exitCode, 0);
    EXPECT_TRUE(waitUntil([&] { return home().has_value(); }, 5s)) << "the home window did not show";
    EXPECT_TRUE(m_vesk.isRunning());
}

// The panel's phases, each photographed: a slow correction dismissed with Escape, an
// unchanged text closed with Return, a rejected key dismissed with Escape. None of them touches the
// editor's text, and each gives the focus back.
TEST_F(DesktopFlowTest, PanelPhases)
{
    std::atomic<int> served = 0;
    m_server.respondWith([&](const RecordedRequest&) {
        switch (served++) {
        case 0: {
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
    const auto phase = [&](std::size_t request, const std::string& shot, const std::string& key) {
        ASSERT_TRUE(correct(request));
        ASSERT_TRUE(waitUntil([&] { return panel().has_value(); }, 1s)) << "no panel";
        if (request == 1) {
            screenshot("phase-reading");
            std::this_thread::sleep_for(3s); // the head, then the pieces
        }
        ASSERT_TRUE(waitForSettledPanel());
        screenshot(shot);
        pressKeys(key);
        ASSERT_TRUE(waitForPanelGone()) << key << " did not close the panel";
        expectEditorUntouched();
    };
    ASSERT_NO_FATAL_FAILURE(phase(1, "phase-result", "Escape"));
    ASSERT_NO_FATAL_FAILURE(phase(2, "phase-no-changes", "Return"));
    ASSERT_NO_FATAL_FAILURE(phase(3, "phase-error", "Escape"));
}

} // namespace
} // namespace vesk::e2e
