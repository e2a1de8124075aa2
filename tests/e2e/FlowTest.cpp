// Vesk on a real desktop, the same cases on X11, sway and KWin: the `vesk` binary in the background, an
// editor or a terminal as the program the user writes in, keys as a keyboard would send them. Results are
// read from the editor's saved file and from the clipboard while Vesk still runs.

#include "e2e/FlowTest.h"

#include <atomic>
#include <thread>

namespace vesk::e2e {

void FlowTest::start(const Target& editor, const std::string& text, const std::vector<std::string>& formats)
{
    ASSERT_NO_FATAL_FAILURE(startVesk());
    m_target = editor;
    ASSERT_TRUE(m_desktop->openEditor(editor, text)) << "the editor never took the keys";
    ASSERT_NO_FATAL_FAILURE(holdClipboard(formats));
}

void FlowTest::correct(bool review, bool fixCommand, std::size_t n)
{
    press({"ctrl+a"});
    if (fixCommand) {
        const test::ProcessResult fix = m_vesk.run({"fix"});
        EXPECT_EQ(fix.exitCode, 0) << fix.err;
    } else {
        press({"alt+g"});
    }
    ASSERT_TRUE(m_server.waitForRequests(n, 5s)) << "no request reached the provider";
    EXPECT_NE(m_server.requests().at(n - 1).body.find(typo), std::string::npos) << "the selection was sent";
    if (review) {
        ASSERT_NO_FATAL_FAILURE(waitForPanelKeys());
    }
}

void FlowTest::acceptInPanel()
{
    const bool closed = waitUntil(
        [&] {
            press({"Return"});
            return waitForPanelGone(700ms);
        },
        5s, 0ms);
    EXPECT_TRUE(closed) << "Return did not close the panel";
}

namespace {

const std::string secondFix = "The cat sat on the mat!";

// Mousepad everywhere; on Wayland also the Qt editor.
std::vector<Target> editors()
{
    std::vector<Target> result{mousepad};
#ifdef VESK_E2E_WAYLAND
    if (std::getenv("WAYLAND_DISPLAY") != nullptr) {
        result.push_back(qtEditor);
    }
#endif
    return result;
}

template <class Row> std::string rowName(const ::testing::TestParamInfo<Row>& row)
{
    return std::string(std::get<0>(row.param).name) + "_" + std::get<1>(row.param).name;
}

// What the user had on the clipboard (all of it must be back afterwards), and how the correction was made.
// (That the copy waits for a still-held Alt is X11DesktopTest's.)
struct ClipboardCase
{
    const char* name;
    std::string text;
    std::string html;
    bool review = true;
    bool png = false;
    bool fixCommand = false; // on sway the shortcut runs `vesk fix` anyway
};
void PrintTo(const ClipboardCase& c, std::ostream* out) { *out << c.name; }

std::vector<ClipboardCase> clipboardCases()
{
    std::vector<ClipboardCase> cases{
        {"TextAndHtml", "Bold and plain", "<meta charset=\"utf-8\"><b>Bold</b> and <i>plain</i> — ünïcode"},
        {"TextWithoutReview", "kept", "", false},
        {"Png", "", "", true, true}};
    if (std::getenv("WAYLAND_DISPLAY") == nullptr) {
        cases.push_back({"FixCommandDoesWhatTheShortcutDoes", "kept", "", true, false, true});
    }
    return cases;
}

class ClipboardTest : public FlowTest, public ::testing::WithParamInterface<std::tuple<ClipboardCase, Target>>
{
};

TEST_P(ClipboardTest, CorrectionReplacesTheSelectionAndRestoresTheClipboard)
{
    const auto& [c, editor] = GetParam();
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
    ASSERT_NO_FATAL_FAILURE(start(editor, typo, formats));

    ASSERT_NO_FATAL_FAILURE(correct(c.review, c.fixCommand));
    if (c.review) {
        ASSERT_NO_FATAL_FAILURE(acceptInPanel());
    }
    EXPECT_EQ(saveUntil(fixedText), fixedText);
    for (const auto& [type, bytes] :
         {std::pair{"text/plain", c.text}, std::pair{"text/html", c.html}, std::pair{"image/png", png}}) {
        EXPECT_TRUE(bytes.empty() || waitUntil([&] { return m_desktop->clipboard(type) == bytes; }, 2s))
            << type << " came back as " << m_desktop->clipboard(type).size() << " bytes, not " << bytes.size();
    }
    EXPECT_FALSE(panelShown());
}

INSTANTIATE_TEST_SUITE_P(Clipboard, ClipboardTest,
                         ::testing::Combine(::testing::ValuesIn(clipboardCases()), ::testing::ValuesIn(editors())),
                         rowName<ClipboardTest::ParamType>);

class EditorTest : public FlowTest, public ::testing::WithParamInterface<Target>
{
};

// The panel's phases, each closed without touching the editor's text: a correction dismissed with Escape,
// an unchanged text closed with Return, a rejected key dismissed with Escape. Each gives the editor the
// focus back, and with it the keys.
TEST_P(EditorTest, EscapeNoChangesAndErrorsLeaveTheText)
{
    std::atomic<int> served = 0;
    m_server.respondWith([&](const RecordedRequest&) {
        switch (served++) {
        case 0:
            return reply(fixedText);
        case 1:
            return reply(typo);
        default:
            return ScriptedResponse::text(401, "application/json",
                                          streams::openAIErrorBody("Incorrect API key provided: sk-e2e-***cdef."));
        }
    });
    ASSERT_NO_FATAL_FAILURE(start(GetParam(), typo, {"--text", "before"}));
    const auto phase = [&](std::size_t request, const std::string& shot, const std::string& key) {
        ASSERT_NO_FATAL_FAILURE(correct(true, false, request));
        m_desktop->photograph(shot);
        press({key});
        ASSERT_TRUE(waitForPanelGone()) << key << " did not close the panel";
        EXPECT_TRUE(waitUntil([&] { return hasFocus(); }, 3s)) << "focus went back to the editor";
        // A paste would land within a few tens of milliseconds of the focus change; saving then shows it,
        // and a copy shows the editor has the keys again.
        std::this_thread::sleep_for(500ms);
        press({"ctrl+s", "ctrl+a", "ctrl+c"});
        EXPECT_TRUE(waitUntil([&] { return clipboard() == typo; }, 2s)) << "the editor has no focus";
        EXPECT_EQ(m_vesk.documentOnDisk(), typo);
    };
    ASSERT_NO_FATAL_FAILURE(phase(1, "phase-result", "Escape"));
    ASSERT_NO_FATAL_FAILURE(phase(2, "phase-no-changes", "Return"));
    ASSERT_NO_FATAL_FAILURE(phase(3, "phase-error", "Escape"));
}

TEST_P(EditorTest, NothingSelectedAsksNothingAndOpensTheComposer)
{
    ASSERT_NO_FATAL_FAILURE(start(GetParam(), "", {"--text", "kept"}));
    ASSERT_FALSE(m_desktop->composerOpened());

    press({"alt+g"});
    EXPECT_TRUE(waitUntil([&] { return m_desktop->composerOpened(); }, 5s)) << "the Composer did not open";
    m_desktop->photograph("home-write");
    EXPECT_EQ(m_server.requests().size(), 0U);
    EXPECT_FALSE(panelShown());
    EXPECT_EQ(clipboard(), "kept");
}

INSTANTIATE_TEST_SUITE_P(Editors, EditorTest, ::testing::ValuesIn(editors()), test::ParamName());

// Two presses, the second while the first still streams: the last one's correction lands. Pressed twice in
// quick succession, the first press may be dropped before it sends anything; pressed once the panel has
// the keyboard, it copies the editor's selection again. Which stream is kept is SessionModelTest's.
struct SecondPressCase
{
    const char* name;
    std::chrono::milliseconds firstReplyGap; // slow enough to be streaming still when the second press comes
    bool onceThePanelShows;
};
void PrintTo(const SecondPressCase& c, std::ostream* out) { *out << c.name; }

class SecondPressTest : public FlowTest, public ::testing::WithParamInterface<std::tuple<SecondPressCase, Target>>
{
};

TEST_P(SecondPressTest, OnlyTheLastCorrectionLands)
{
    const auto& [c, editor] = GetParam();
    std::atomic<int> served = 0;
    m_server.respondWith([&](const RecordedRequest&) {
        return served++ == 0 ? reply(fixedText, c.firstReplyGap) : reply(secondFix);
    });
    ASSERT_NO_FATAL_FAILURE(start(editor, typo, {"--text", "kept"}));

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
    std::this_thread::sleep_for(m_desktop->knowsWindows() ? 0ms : 1s);
    ASSERT_NO_FATAL_FAILURE(acceptInPanel());
    const std::string expected = m_server.requests().size() >= 2 ? secondFix : fixedText;
    EXPECT_EQ(saveUntil(expected), expected);
    EXPECT_TRUE(waitUntil([&] { return clipboard() == "kept"; }, 2s)) << clipboard();
    EXPECT_FALSE(panelShown());
}

INSTANTIATE_TEST_SUITE_P(SecondPress, SecondPressTest,
                         ::testing::Combine(::testing::Values(SecondPressCase{"QuickSecondPressWins", 150ms, false},
                                                              SecondPressCase{"PressWhileStreamingReplacesTheFirst",
                                                                              300ms, true}),
                                            ::testing::ValuesIn(editors())),
                         rowName<SecondPressTest::ParamType>);

// A terminal copies and pastes with Ctrl+Shift+C/V; Ctrl+C would interrupt the program running in it. Vesk
// tells a terminal by its window's class or app id (on KWin, from what its script there reports).
TEST_F(FlowTest, TerminalSelectionIsCopiedAndPastedWithoutInterrupting)
{
    m_server.respondWith([](const RecordedRequest&) { return reply(fixedText); });
    ASSERT_NO_FATAL_FAILURE(startVesk());
    const fs::path marker = m_vesk.directory() / "interrupted";
    const fs::path pasted = m_vesk.directory() / "pasted";
    m_target = m_desktop->terminal();
    std::vector<std::string> args(m_target.command.begin() + 1, m_target.command.end());
    args.insert(args.end(), {"sh", "-c",
                             "trap 'echo INTERRUPTED >> " + marker.string() + "' INT; echo '" + typo +
                                 "'; read line; echo \"$line\" > " + pasted.string() + "; sleep 60"});
    BackgroundProcess terminal(m_target.command[0], args, m_vesk.directory() / "terminal.log");
    ASSERT_TRUE(waitUntil([&] { return hasFocus(); }, 10s)) << "the terminal did not open";
    ASSERT_NO_FATAL_FAILURE(holdClipboard({"--text", "kept"}));
    ASSERT_TRUE(waitUntil([&] { return m_desktop->selectTerminalRow(); }, 5s, 500ms))
        << "the terminal selected nothing";

    press({"alt+g"});
    ASSERT_TRUE(m_server.waitForRequests(1, 5s)) << "nothing was copied from the terminal";
    EXPECT_NE(m_server.requests().at(0).body.find(typo), std::string::npos);
    ASSERT_NO_FATAL_FAILURE(waitForPanelKeys());
    m_desktop->photograph("terminal-panel");
    ASSERT_NO_FATAL_FAILURE(acceptInPanel());
    ASSERT_TRUE(waitUntil([&] { return hasFocus(); }, 3s)) << "focus went back to the terminal";
    // The script reads the pasted line once Return ends it.
    std::this_thread::sleep_for(300ms);
    press({"Return"});
    EXPECT_TRUE(waitUntil([&] { return readFile(pasted) == fixedText + "\n"; }, 3s)) << readFile(pasted);
    EXPECT_FALSE(fs::exists(marker)) << "the program got SIGINT";
    EXPECT_TRUE(terminal.isRunning());
    EXPECT_TRUE(waitUntil([&] { return clipboard() == "kept"; }, 2s)) << clipboard();
}

} // namespace
} // namespace vesk::e2e
