// Vesk on a headless Wayland desktop: the `vesk` binary on its Wayland back end, mousepad or a Qt editor as
// the program the user writes in. On sway (with-sway.sh) the shortcut is a sway binding that runs
// `vesk fix`, as the user sets it up there, keys come from a virtual keyboard with the seat's keymap, and
// windows are read from sway's tree. On KDE (with-kwin.sh) Vesk registers its shortcut with the
// GlobalShortcuts portal and the keys, Vesk's and the test's, go through the RemoteDesktop portal; KWin
// tells other programs nothing about its windows, so there the results are read from the editor's file and
// the clipboard alone.

#include "e2e/FlowTest.h"
#include "e2e/WaylandDesktop.h"

#include <atomic>
#include <thread>

namespace vesk::e2e {
namespace {

constexpr const char* veskAppId = "dev.vesk.Vesk";

struct Editor
{
    const char* name;
    std::string program;
    std::string appId;
};

const auto editors = ::testing::Values(Editor{"Mousepad", "mousepad", "mousepad"},
                                       Editor{"QtEditor", VESK_WAYLAND_QT_EDITOR, "vesk-qt-editor"});

class WaylandFlowTest : public FlowTest
{
protected:
    [[nodiscard]] virtual const Editor& editor() const = 0;

    void SetUp() override
    {
        ASSERT_NE(std::getenv("WAYLAND_DISPLAY"), nullptr) << "run through tests/support/with-sway.sh or with-kwin.sh";
        ASSERT_EQ(m_vesk.configure(m_server.url("")), "");
        ASSERT_EQ(onSway() ? bindFixInSway(m_vesk.directory()) : "", "");
    }

    [[nodiscard]] std::string describeDesktop() const override { return describeWindows(); }

    // Vesk, then the editor with `text`, then the clipboard held with `formats` by another program.
    void start(const std::string& text, const std::vector<std::string>& formats)
    {
        ASSERT_NO_FATAL_FAILURE(startVesk());
        // KWin does not say which window has the focus: the editor has it once a copy there works.
        const auto copyWorks = [&] {
            std::this_thread::sleep_for(300ms);
            press({"ctrl+a", "ctrl+c"});
            return clipboardAs("text/plain") == text;
        };
        ASSERT_TRUE(m_vesk.openEditor(text, editor().program,
                                      onSway() ? [&] { return editorHasFocus(); } : std::function<bool()>(copyWorks)))
            << "the editor never took the keys";
        ASSERT_NO_FATAL_FAILURE(holdClipboard(formats));
    }

    void startVesk()
    {
        // On KDE the shortcut and the keyboard come from the portals, which answer after start-up.
        ASSERT_TRUE(m_vesk.start(
            onSway() ? std::vector<std::string>{"\nbindsym Mod1+g exec vesk fix"}
                     : std::vector<std::string>{"Shortcut session open", "Remote desktop keyboard granted"}))
            << "vesk did not start (or did not state sway's bind line)";
        // Without a tray the home window opens at start; the panel is any other window of Vesk's.
        waitUntil([] { return !windowsOf(veskAppId).empty(); }, 2s);
        for (const auto& window : windowsOf(veskAppId)) {
            m_homeWindows.push_back(window.value("id", 0));
        }
    }

    void holdClipboard(const std::vector<std::string>& formats)
    {
        std::vector<std::string> args{"own"};
        args.insert(args.end(), formats.begin(), formats.end());
        m_owner = std::make_unique<BackgroundProcess>(VESK_WAYLAND_TOOL, args, m_vesk.directory() / "owner.log");
        const std::string held = formats.size() > 1 && formats[0] == "--text" ? formats[1] : std::string();
        ASSERT_TRUE(waitUntil([&] { return clipboardAs("text/plain") == held; }, 5s)) << "the clipboard wasn't taken";
    }

    // On KDE never known: nothing there lists other programs' windows.
    [[nodiscard]] std::optional<nlohmann::json> panel() const
    {
        for (const auto& window : onSway() ? windowsOf(veskAppId) : std::vector<nlohmann::json>{}) {
            if (std::find(m_homeWindows.begin(), m_homeWindows.end(), window.value("id", 0)) == m_homeWindows.end()) {
                return window;
            }
        }
        return std::nullopt;
    }

    // On KDE the test cannot tell; keys then go wherever the focus is.
    [[nodiscard]] bool editorHasFocus() const { return !onSway() || focusedAppId() == editor().appId; }

    void press(const std::vector<std::string>& strokes)
    {
        if (!m_keyboard) {
            m_keyboard = std::make_unique<Keyboard>(m_vesk.directory());
        }
        ASSERT_EQ(m_keyboard->press(strokes), "") << readFile(m_vesk.directory() / "keys.log");
    }

    // Selects the whole document and presses the shortcut; the request reaches the provider with the text,
    // and the panel (with review) takes the keys: on sway once it has the focus, on KDE after a moment.
    void correct(bool review = true)
    {
        press({"ctrl+a", "alt+g"});
        ASSERT_TRUE(m_server.waitForRequests(1, 5s)) << "no request reached the provider";
        EXPECT_NE(m_server.requests()[0].body.find(typo), std::string::npos) << "the selection was sent";
        if (review) {
            ASSERT_NO_FATAL_FAILURE(waitForPanelKeys());
        }
    }

    void waitForPanelKeys()
    {
        const auto panelFocused = [&] {
            const auto window = panel();
            return window && window->value("focused", false);
        };
        if (onSway()) {
            ASSERT_TRUE(waitUntil(panelFocused, 5s)) << "the panel did not take the keys";
        } else {
            std::this_thread::sleep_for(1s);
        }
    }

    std::string saveUntil(const std::string& expected)
    {
        return m_vesk.saveUntil(expected, 5s, [&] {
            if (editorHasFocus()) {
                press({"ctrl+s"});
            }
        });
    }

    // Return in the panel, pressed again while the panel stays (it waits for a reply still streaming).
    void acceptInPanel()
    {
        const bool closed = waitUntil(
            [&] {
                press({"Return"});
                return !onSway() || waitUntil([&] { return !panel(); }, 700ms);
            },
            5s, 0ms);
        EXPECT_TRUE(closed) << "Return did not close the panel";
    }

    std::unique_ptr<BackgroundProcess> m_owner;
    std::vector<int> m_homeWindows;
    std::unique_ptr<Keyboard> m_keyboard;
};

// What the user had on the clipboard comes back byte for byte after the correction, reviewed or not.
class WaylandClipboardTest : public WaylandFlowTest,
                             public ::testing::WithParamInterface<std::tuple<ClipboardCase, Editor>>
{
protected:
    [[nodiscard]] const Editor& editor() const override { return std::get<1>(GetParam()); }
};

TEST_P(WaylandClipboardTest, CorrectionReplacesTheSelectionAndRestoresTheClipboard)
{
    const ClipboardCase& c = std::get<0>(GetParam());
    std::vector<std::string> formats;
    std::string png;
    if (c.png) {
        const fs::path picture = m_vesk.directory() / "picture.png";
        ASSERT_EQ(runTool("convert", {"-size", "64x40", "gradient:#0a84ff-#ff3b30", picture.string()}).exitCode, 0);
        png = readFile(picture);
        formats = {"--png", picture.string()};
    }
    for (const auto& [option, value] : {std::pair{"--text", c.text}, std::pair{"--html", c.html}}) {
        if (!value.empty()) {
            formats.insert(formats.end(), {option, value});
        }
    }
    ASSERT_EQ(m_vesk.run({"settings", "--review", c.review ? "on" : "off"}).exitCode, 0);
    m_server.respondWith([](const RecordedRequest&) { return reply(fixedText); });
    ASSERT_NO_FATAL_FAILURE(start(typo, formats));

    ASSERT_NO_FATAL_FAILURE(correct(c.review));
    if (c.review) {
        ASSERT_NO_FATAL_FAILURE(acceptInPanel());
    }
    EXPECT_EQ(saveUntil(fixedText), fixedText);
    for (const auto& [type, bytes] :
         {std::pair{"text/plain", c.text}, std::pair{"text/html", c.html}, std::pair{"image/png", png}}) {
        EXPECT_TRUE(bytes.empty() || waitUntil([&] { return clipboardAs(type) == bytes; }, 2s))
            << type << " came back as " << clipboardAs(type).size() << " bytes, not " << bytes.size();
    }
    EXPECT_FALSE(panel());
}

INSTANTIATE_TEST_SUITE_P(
    Clipboard, WaylandClipboardTest,
    ::testing::Combine(
        ::testing::Values(ClipboardCase{"TextAndHtml", "Bold and plain",
                                        "<meta charset=\"utf-8\"><b>Bold</b> and <i>plain</i> — ünïcode"},
                          ClipboardCase{"TextWithoutReview", "kept", "", false},
                          ClipboardCase{"Png", "", "", true, Trigger::shortcut, true}),
        editors),
    [](const auto& row) { return std::string(std::get<0>(row.param).name) + "_" + std::get<1>(row.param).name; });

class WaylandEditorTest : public WaylandFlowTest, public ::testing::WithParamInterface<Editor>
{
protected:
    [[nodiscard]] const Editor& editor() const override { return GetParam(); }
};

TEST_P(WaylandEditorTest, EscapeLeavesTheTextAndGivesTheFocusBack)
{
    m_server.respondWith([](const RecordedRequest&) { return reply(fixedText); });
    ASSERT_NO_FATAL_FAILURE(start(typo, {"--text", "before"}));

    ASSERT_NO_FATAL_FAILURE(correct());
    press({"Escape"});
    EXPECT_TRUE(waitUntil([&] { return !panel(); }, 3s)) << "Escape did not close the panel";
    EXPECT_TRUE(waitUntil([&] { return editorHasFocus(); }, 3s)) << "focus went back to the editor";
    // A paste would land within a few tens of milliseconds of the focus change; saving then shows it, and
    // a copy shows the editor has the keys again.
    std::this_thread::sleep_for(500ms);
    press({"ctrl+s", "ctrl+a", "ctrl+c"});
    EXPECT_TRUE(waitUntil([&] { return clipboardAs("text/plain") == typo; }, 2s)) << "the editor has no focus";
    EXPECT_EQ(m_vesk.documentOnDisk(), typo);
}

TEST_P(WaylandEditorTest, NothingSelectedAsksNothingAndOpensTheComposer)
{
    ASSERT_NO_FATAL_FAILURE(start("", {"--text", "kept"}));

    press({"alt+g"});
    EXPECT_TRUE(waitUntil([&] { return m_vesk.log().find("opening the Composer") != std::string::npos; }, 5s));
    EXPECT_EQ(m_server.requests().size(), 0U);
    EXPECT_FALSE(panel());
    EXPECT_EQ(clipboardAs("text/plain"), "kept");
}

INSTANTIATE_TEST_SUITE_P(Editors, WaylandEditorTest, editors, test::ParamName());

class WaylandSecondPressTest : public WaylandFlowTest,
                               public ::testing::WithParamInterface<std::tuple<SecondPressCase, Editor>>
{
protected:
    [[nodiscard]] const Editor& editor() const override { return std::get<1>(GetParam()); }
};

TEST_P(WaylandSecondPressTest, OnlyTheLastCorrectionLands)
{
    const SecondPressCase& c = std::get<0>(GetParam());
    std::atomic<int> served = 0;
    m_server.respondWith([&](const RecordedRequest&) {
        return served++ == 0 ? reply(fixedText, c.firstReplyGap) : reply(secondFix);
    });
    ASSERT_NO_FATAL_FAILURE(start(typo, {"--text", "kept"}));

    if (c.onceThePanelShows) {
        ASSERT_NO_FATAL_FAILURE(correct());
        press({"alt+g"});
        ASSERT_TRUE(m_server.waitForRequests(2, 5s)) << "the second press asked for nothing";
        EXPECT_NE(m_server.requests().at(1).body.find(typo), std::string::npos)
            << "the second press copied from the editor";
    } else {
        press({"ctrl+a", "alt+g", "alt+g"});
        ASSERT_TRUE(m_server.waitForRequests(1, 5s));
        m_server.waitForRequests(2, 1s);
    }
    // On KDE Return counts only once the last reply is in.
    ASSERT_NO_FATAL_FAILURE(waitForPanelKeys());
    std::this_thread::sleep_for(onSway() ? 0ms : 1s);
    ASSERT_NO_FATAL_FAILURE(acceptInPanel());
    const std::string expected = m_server.requests().size() >= 2 ? secondFix : fixedText;
    EXPECT_EQ(saveUntil(expected), expected);
    // Nothing else arrives later (a late reply pasted after all), and the user's clipboard is back.
    std::this_thread::sleep_for(1500ms);
    EXPECT_EQ(saveUntil(expected), expected) << "a late reply was pasted";
    EXPECT_TRUE(waitUntil([] { return clipboardAs("text/plain") == "kept"; }, 2s)) << clipboardAs("text/plain");
    EXPECT_FALSE(panel());
}

INSTANTIATE_TEST_SUITE_P(SecondPress, WaylandSecondPressTest,
                         ::testing::Combine(::testing::ValuesIn(secondPressCases), editors), [](const auto& row) {
                             return std::string(std::get<0>(row.param).name) + "_" + std::get<1>(row.param).name;
                         });

// A terminal copies and pastes with Ctrl+Shift+C/V; Ctrl+C would interrupt the program running in it. Vesk
// tells a terminal by its app id: on sway from the foreign-toplevel list, on KWin from what Vesk's KWin
// script reports. foot runs on sway, selected by a triple click; on KWin, where foot 1.13 dies of the
// virtual output's unknown size and the test has no pointer, xfce4-terminal, selected with its Select All.
class WaylandTerminalTest : public WaylandFlowTest
{
protected:
    [[nodiscard]] const Editor& editor() const override { return onSway() ? foot : xfceTerminal; }
    const Editor foot{"Foot", "foot", "foot"};
    const Editor xfceTerminal{"XfceTerminal", "xfce4-terminal", "xfce4-terminal"};

    // Whether the terminal has the keys: on KWin, whether the last activation Vesk heard of was the terminal's.
    [[nodiscard]] bool terminalHasFocus() const
    {
        if (onSway()) {
            return editorHasFocus();
        }
        const std::string log = m_vesk.log();
        const std::string activated = "KWin activated ";
        const auto last = log.rfind(activated);
        return last != std::string::npos &&
               log.compare(last + activated.size(), editor().appId.size() + 2, '"' + editor().appId + '"') == 0;
    }

    // Selects the line the terminal's script printed.
    void select()
    {
        const auto selected = [&] {
            if (onSway()) {
                const auto window = windowsOf("foot").at(0);
                const int x = window["rect"].value("x", 0) + window["window_rect"].value("x", 0) + 40;
                const int y = window["rect"].value("y", 0) + window["window_rect"].value("y", 0) + 8;
                runTool(VESK_WAYLAND_TOOL, {"click", std::to_string(x), std::to_string(y), "1280", "720", "3"});
            } else {
                press({"ctrl+shift+a"});
            }
            return runTool("wl-paste", {"--primary", "--no-newline"}, {}, 3s).out.starts_with("teh");
        };
        ASSERT_TRUE(waitUntil(selected, 5s, 500ms)) << "the terminal selected nothing";
    }
};

TEST_F(WaylandTerminalTest, TerminalSelectionIsCopiedAndPastedWithoutInterrupting)
{
    m_server.respondWith([](const RecordedRequest&) { return reply(fixedText); });
    ASSERT_NO_FATAL_FAILURE(startVesk());
    const fs::path marker = m_vesk.directory() / "interrupted";
    const fs::path pasted = m_vesk.directory() / "pasted";
    const std::string script = "trap 'echo INTERRUPTED >> " + marker.string() + "' INT; echo '" + typo +
                               "'; read line; echo \"$line\" > " + pasted.string() + "; sleep 60";
    const std::vector<std::string> args = onSway()
                                              ? std::vector<std::string>{"sh", "-c", script}
                                              : std::vector<std::string>{"--disable-server", "-x", "sh", "-c", script};
    BackgroundProcess terminal(editor().program, args, (m_vesk.directory() / "terminal.log").string());
    ASSERT_TRUE(waitUntil([&] { return terminalHasFocus(); }, 10s)) << "the terminal did not open";
    ASSERT_NO_FATAL_FAILURE(holdClipboard({"--text", "kept"}));
    ASSERT_NO_FATAL_FAILURE(select());

    press({"alt+g"});
    ASSERT_TRUE(m_server.waitForRequests(1, 5s)) << "nothing was copied from the terminal";
    EXPECT_NE(m_server.requests().at(0).body.find(typo), std::string::npos);
    ASSERT_NO_FATAL_FAILURE(waitForPanelKeys());
    ASSERT_NO_FATAL_FAILURE(acceptInPanel());
    ASSERT_TRUE(waitUntil([&] { return terminalHasFocus(); }, 3s)) << "focus went back to the terminal";
    // The script reads the pasted line once Return ends it.
    std::this_thread::sleep_for(300ms);
    press({"Return"});
    EXPECT_TRUE(waitUntil([&] { return readFile(pasted) == fixedText + "\n"; }, 3s)) << readFile(pasted);
    EXPECT_FALSE(fs::exists(marker)) << "the program got SIGINT";
    EXPECT_TRUE(terminal.isRunning());
    EXPECT_TRUE(waitUntil([] { return clipboardAs("text/plain") == "kept"; }, 2s)) << clipboardAs("text/plain");
}

} // namespace
} // namespace vesk::e2e
