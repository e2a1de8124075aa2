// Vesk on a headless Wayland desktop: the `vesk` binary on its Wayland back end, mousepad or a Qt editor as
// the program the user writes in, and the scripted provider server on loopback. On sway (with-sway.sh) the
// shortcut is a sway binding that runs `vesk fix`, as the user sets it up there, keys come from a virtual
// keyboard with the seat's keymap, and windows are read from sway's tree. On KDE (with-kwin.sh) Vesk
// registers its shortcut with the GlobalShortcuts portal and the keys, Vesk's and the test's, go through the
// RemoteDesktop portal; KWin tells other programs nothing about its windows, so there the results are read
// from the editor's file and the clipboard alone. The clipboard is read with wl-paste.

#include "e2e/Desktop.h"
#include "e2e/VeskSession.h"
#include "e2e/WaylandDesktop.h"
#include "support/ParamName.h"
#include "support/ScriptedProviderServer.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <iostream>
#include <thread>

namespace vesk::e2e {
namespace {

using test::RecordedRequest;
using test::ScriptedResponse;
namespace streams = test::streams;
namespace fs = std::filesystem;

const std::string typo = "teh cat sat on teh mat";
const std::string fixedText = "The cat sat on the mat.";
constexpr const char* veskAppId = "dev.vesk.Vesk";

ScriptedResponse reply(const std::string& text)
{
    return ScriptedResponse::events(streams::openAI(streams::split(text, 4)));
}

struct Editor
{
    const char* name;
    std::string program;
    std::string appId;
};

class WaylandFlowTest : public ::testing::TestWithParam<Editor>
{
protected:
    void SetUp() override
    {
        ASSERT_NE(std::getenv("WAYLAND_DISPLAY"), nullptr) << "run through tests/support/with-sway.sh or with-kwin.sh";
        ASSERT_EQ(m_vesk.configure(m_server.url("")), "");
        if (!onSway()) {
            return;
        }
        const std::string error = bindFixInSway(m_vesk.directory());
        ASSERT_EQ(error, "");
    }

    void TearDown() override
    {
        if (HasFailure()) {
            std::cerr << describeWindows() << "--- vesk log ---\n"
                      << readFile(m_vesk.directory() / "vesk.log") << "--- end of vesk log ---\n";
        }
        m_keyboard.reset();
        m_editor.reset();
        m_owner.reset();
        m_app.reset();
    }

    void startVesk()
    {
        const fs::path& dir = m_vesk.directory();
        m_app = std::make_unique<BackgroundProcess>(
            VESK_BINARY, std::vector<std::string>{}, (dir / "vesk.log").string(),
            std::map<std::string, std::string>{{"XDG_CONFIG_HOME", (dir / "config").string()},
                                               {"XDG_DATA_HOME", (dir / "data").string()},
                                               {"XDG_CACHE_HOME", (dir / "cache").string()},
                                               {"XDG_RUNTIME_DIR", (dir / "run").string()},
                                               {"QT_LOGGING_RULES", "vesk.*=true"},
                                               {"QT_MESSAGE_PATTERN", "%{time process} %{category}: %{message}"}});
        // On KDE the shortcut and the keyboard come from the portals, which answer after start-up.
        const std::vector<std::string> ready =
            onSway() ? std::vector<std::string>{"Ready"}
                     : std::vector<std::string>{"Ready", "Shortcut session open", "Remote desktop keyboard granted"};
        ASSERT_TRUE(waitUntil(
            [&] {
                const std::string log = readFile(dir / "vesk.log");
                return std::all_of(ready.begin(), ready.end(),
                                   [&](const std::string& line) { return log.find(line) != std::string::npos; });
            },
            10s))
            << "vesk did not start:\n"
            << readFile(dir / "vesk.log");
        if (onSway()) {
            EXPECT_NE(readFile(dir / "vesk.log").find("\nbindsym Mod1+g exec vesk fix"), std::string::npos)
                << "sway's bind line is not stated";
        }
        // Without a tray the home window opens at start; the panel is any other window of Vesk's.
        waitUntil([] { return !windowsOf(veskAppId).empty(); }, 2s);
        for (const auto& window : windowsOf(veskAppId)) {
            m_homeWindows.push_back(window.value("id", 0));
        }
    }

    // On KDE never known: nothing there lists other programs' windows.
    [[nodiscard]] std::optional<nlohmann::json> panel() const
    {
        if (!onSway()) {
            return std::nullopt;
        }
        for (const auto& window : windowsOf(veskAppId)) {
            if (std::find(m_homeWindows.begin(), m_homeWindows.end(), window.value("id", 0)) == m_homeWindows.end()) {
                return window;
            }
        }
        return std::nullopt;
    }

    [[nodiscard]] bool panelHasFocus() const
    {
        const auto window = panel();
        return window && window->value("focused", false);
    }

    void startEditor(const std::string& text)
    {
        m_document = m_vesk.directory() / "notes.txt";
        writeFile(m_document, text);
        m_editor = std::make_unique<BackgroundProcess>(GetParam().program, std::vector<std::string>{m_document},
                                                       (m_vesk.directory() / "editor.log").string());
        if (onSway()) {
            ASSERT_TRUE(waitUntil([&] { return editorHasFocus(); }, 10s)) << describeWindows();
        } else {
            // KWin does not say which window has the focus: the editor has it once a copy there works.
            ASSERT_TRUE(waitUntil(
                [&] {
                    press({"ctrl+a", "ctrl+c"});
                    return clipboardAs("text/plain") == text;
                },
                15s, 300ms))
                << "the editor never took the keys";
        }
        // Nobody types into a window in the instant it appears.
        std::this_thread::sleep_for(300ms);
    }

    // On KDE the test cannot tell; keys then go wherever the focus is.
    void press(const std::vector<std::string>& strokes)
    {
        if (!m_keyboard) {
            m_keyboard = std::make_unique<Keyboard>(m_vesk.directory());
        }
        const std::string error = m_keyboard->press(strokes);
        ASSERT_EQ(error, "") << readFile(m_vesk.directory() / "keys.log");
    }

    [[nodiscard]] bool editorHasFocus() const { return !onSway() || focusedAppId() == GetParam().appId; }

    // The panel takes the keys: on sway once it has the focus, on KDE after a moment for the reply.
    void waitForPanel() const
    {
        if (onSway()) {
            ASSERT_TRUE(waitUntil([&] { return panelHasFocus(); }, 5s)) << "the panel did not take the keys";
        } else {
            std::this_thread::sleep_for(1s);
        }
    }

    // Holds the clipboard with these formats from another program, as after a copy there.
    void holdClipboard(const std::vector<std::string>& args)
    {
        std::vector<std::string> all{"own"};
        all.insert(all.end(), args.begin(), args.end());
        m_owner =
            std::make_unique<BackgroundProcess>(VESK_WAYLAND_TOOL, all, (m_vesk.directory() / "owner.log").string());
        const std::string text = args.size() > 1 && args[0] == "--text" ? args[1] : std::string();
        ASSERT_TRUE(waitUntil([&] { return clipboardAs("text/plain") == text; }, 5s)) << "the clipboard wasn't taken";
    }

    // Saves whenever the editor has the focus until the file holds `expected`; what it held last.
    std::string saveUntil(const std::string& expected)
    {
        std::string content;
        waitUntil(
            [&] {
                content = readFile(m_document);
                if (content == expected) {
                    return true;
                }
                if (editorHasFocus()) {
                    press({"ctrl+s"});
                }
                return false;
            },
            5s, 150ms);
        return content;
    }

    // Return in the panel; pressed again while the panel stays (it waits for a reply still streaming).
    void acceptInPanel()
    {
        ASSERT_NO_FATAL_FAILURE(waitForPanel());
        if (!onSway()) {
            press({"Return"});
            return;
        }
        const bool closed = waitUntil(
            [&] {
                press({"Return"});
                return waitUntil([&] { return !panel(); }, 700ms);
            },
            5s, 0ms);
        EXPECT_TRUE(closed) << "Return did not close the panel";
    }

    test::ScriptedProviderServer m_server;
    VeskSession m_vesk;
    fs::path m_document;
    std::unique_ptr<BackgroundProcess> m_app;
    std::unique_ptr<BackgroundProcess> m_editor;
    std::unique_ptr<BackgroundProcess> m_owner;
    std::vector<int> m_homeWindows;
    std::unique_ptr<Keyboard> m_keyboard;
};

TEST_P(WaylandFlowTest, ReviewedCorrectionReplacesTheSelectionAndRestoresTheClipboard)
{
    const std::string html = "<meta charset=\"utf-8\"><b>Bold</b> and <i>plain</i> — ünïcode";
    m_server.respondWith([](const RecordedRequest&) { return reply(fixedText); });
    ASSERT_NO_FATAL_FAILURE(startVesk());
    ASSERT_NO_FATAL_FAILURE(startEditor(typo));
    ASSERT_NO_FATAL_FAILURE(holdClipboard({"--text", "Bold and plain", "--html", html}));

    press({"ctrl+a", "alt+g"});
    ASSERT_TRUE(m_server.waitForRequests(1, 5s)) << "no request reached the provider";
    EXPECT_NE(m_server.requests()[0].body.find(typo), std::string::npos) << "the selection was sent";
    ASSERT_NO_FATAL_FAILURE(acceptInPanel());
    EXPECT_EQ(saveUntil(fixedText), fixedText);
    EXPECT_TRUE(waitUntil(
        [&] { return clipboardAs("text/html") == html && clipboardAs("text/plain") == "Bold and plain"; }, 2s))
        << "clipboard: \"" << clipboardAs("text/plain") << "\" / \"" << clipboardAs("text/html") << "\"";
}

TEST_P(WaylandFlowTest, WithoutReviewTheCorrectionReplacesAtOnce)
{
    ASSERT_EQ(m_vesk.run({"settings", "--review", "off"}).exitCode, 0);
    m_server.respondWith([](const RecordedRequest&) { return reply(fixedText); });
    ASSERT_NO_FATAL_FAILURE(startVesk());
    ASSERT_NO_FATAL_FAILURE(startEditor(typo));
    ASSERT_NO_FATAL_FAILURE(holdClipboard({"--text", "kept"}));

    press({"ctrl+a", "alt+g"});
    ASSERT_TRUE(m_server.waitForRequests(1, 5s));
    EXPECT_EQ(saveUntil(fixedText), fixedText);
    EXPECT_TRUE(waitUntil([] { return clipboardAs("text/plain") == "kept"; }, 2s))
        << "clipboard: \"" << clipboardAs("text/plain") << "\"";
    EXPECT_FALSE(panel()) << "no panel without review";
}

TEST_P(WaylandFlowTest, EscapeLeavesTheTextAndGivesTheFocusBack)
{
    m_server.respondWith([](const RecordedRequest&) { return reply(fixedText); });
    ASSERT_NO_FATAL_FAILURE(startVesk());
    ASSERT_NO_FATAL_FAILURE(startEditor(typo));
    ASSERT_NO_FATAL_FAILURE(holdClipboard({"--text", "before"}));

    press({"ctrl+a", "alt+g"});
    ASSERT_TRUE(m_server.waitForRequests(1, 5s));
    ASSERT_NO_FATAL_FAILURE(waitForPanel());
    press({"Escape"});
    EXPECT_TRUE(waitUntil([&] { return !panel(); }, 3s)) << "Escape did not close the panel";
    EXPECT_TRUE(waitUntil([&] { return editorHasFocus(); }, 3s)) << "focus went back to the editor";
    // A paste would land within a few tens of milliseconds of the focus change; saving then shows it, and
    // a copy shows the editor has the keys again.
    std::this_thread::sleep_for(500ms);
    press({"ctrl+s", "ctrl+a", "ctrl+c"});
    EXPECT_TRUE(waitUntil([&] { return clipboardAs("text/plain") == typo; }, 2s)) << "the editor has no focus";
    EXPECT_EQ(readFile(m_document), typo);
}

TEST_P(WaylandFlowTest, PictureOnTheClipboardComesBackByteForByte)
{
    const fs::path picture = m_vesk.directory() / "picture.png";
    ASSERT_EQ(runTool("convert", {"-size", "64x40", "gradient:#0a84ff-#ff3b30", picture.string()}).exitCode, 0);
    const std::string png = readFile(picture);
    m_server.respondWith([](const RecordedRequest&) { return reply(fixedText); });
    ASSERT_NO_FATAL_FAILURE(startVesk());
    ASSERT_NO_FATAL_FAILURE(startEditor(typo));
    ASSERT_NO_FATAL_FAILURE(holdClipboard({"--png", picture.string()}));

    press({"ctrl+a", "alt+g"});
    ASSERT_TRUE(m_server.waitForRequests(1, 5s));
    ASSERT_NO_FATAL_FAILURE(acceptInPanel());
    EXPECT_EQ(saveUntil(fixedText), fixedText);
    EXPECT_TRUE(waitUntil([&] { return clipboardAs("image/png") == png; }, 2s))
        << "the picture came back as " << clipboardAs("image/png").size() << " bytes, not " << png.size();
}

TEST_P(WaylandFlowTest, NothingSelectedAsksNothingAndOpensTheComposer)
{
    ASSERT_NO_FATAL_FAILURE(startVesk());
    ASSERT_NO_FATAL_FAILURE(startEditor(""));
    ASSERT_NO_FATAL_FAILURE(holdClipboard({"--text", "kept"}));

    press({"alt+g"});
    EXPECT_TRUE(waitUntil(
        [&] { return readFile(m_vesk.directory() / "vesk.log").find("opening the Composer") != std::string::npos; },
        5s));
    EXPECT_EQ(m_server.requests().size(), 0U);
    EXPECT_FALSE(panel());
    EXPECT_EQ(clipboardAs("text/plain"), "kept");
}

INSTANTIATE_TEST_SUITE_P(Editors, WaylandFlowTest,
                         ::testing::Values(Editor{"Mousepad", "mousepad", "mousepad"},
                                           Editor{"QtEditor", VESK_WAYLAND_QT_EDITOR, "vesk-qt-editor"}),
                         test::ParamName());

} // namespace
} // namespace vesk::e2e
