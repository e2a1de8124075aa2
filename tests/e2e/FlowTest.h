#pragma once

// What every end-to-end test has: the scripted provider server on loopback, one Vesk configured for it, the
// desktop it runs on behind a driver (X11 of with-desktop.sh, sway of with-sway.sh or KWin of with-kwin.sh,
// told apart by the environment), and on failure a report on standard error of what the desktop showed and
// what Vesk logged.

#include "e2e/VeskSession.h"
#include "support/ParamName.h"
#include "support/ScriptedProviderServer.h"

#include <gtest/gtest.h>
#include <optional>

namespace vesk::e2e {

using test::RecordedRequest;
using test::ScriptedResponse;
namespace streams = test::streams;
namespace fs = std::filesystem;

inline const std::string typo = "teh cat sat on teh mat";
inline const std::string fixedText = "The cat sat on the mat.";

inline ScriptedResponse reply(const std::string& text, std::chrono::milliseconds gap = 0ms)
{
    return ScriptedResponse::events(streams::openAI(streams::split(text, 4)), gap);
}

// A program the user writes in: how it is started and how each desktop knows it has the focus.
struct Target
{
    const char* name;
    std::vector<std::string> command; // the program and its options, before the file or the command it runs
    std::string appId;                // Wayland's app id
    std::string x11Title;             // a part of its X11 window's name
};
inline void PrintTo(const Target& target, std::ostream* out) { *out << target.name; }

// How the tests act on one desktop. KWin tells other programs nothing about windows: there `knowsWindows`
// is false, the focus is taken as given, the panel as hidden, and as having the keys after a moment.
class DesktopDriver
{
public:
    virtual ~DesktopDriver() = default;
    [[nodiscard]] static std::unique_ptr<DesktopDriver> forThisSession(VeskSession& vesk);

    [[nodiscard]] virtual bool knowsWindows() const { return true; }
    // What the desktop needs before Vesk starts; what failed, or empty.
    virtual std::string prepare() { return {}; }
    virtual bool startVesk() = 0;
    // Presses each stroke ("ctrl+a", "alt+g", "Return") in turn, to what has focus; what failed, or empty.
    virtual std::string press(const std::vector<std::string>& strokes) = 0;
    [[nodiscard]] virtual std::string clipboard(const std::string& mimeType) = 0;
    [[nodiscard]] virtual bool hasFocus(const Target& target) = 0;
    [[nodiscard]] virtual bool panelShown() = 0;
    // Waits until the review panel has the keys; false when it never did.
    virtual bool waitForPanelKeys() = 0;
    [[nodiscard]] virtual bool composerOpened() = 0;
    [[nodiscard]] virtual Target terminal() const = 0;
    // Selects the line the terminal printed; whether it did.
    virtual bool selectTerminalRow() = 0;
    virtual void photograph(const std::string& /*name*/) {}
    [[nodiscard]] virtual std::string describe() = 0;
};

class FlowTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_desktop) << "run through tests/support/with-desktop.sh, with-sway.sh or with-kwin.sh";
        ASSERT_EQ(m_vesk.configure(m_server.url("")), "");
        ASSERT_EQ(m_desktop->prepare(), "");
    }

    void TearDown() override
    {
        if (HasFailure() && m_desktop) {
            std::cerr << m_desktop->describe() << "--- vesk log ---\n" << m_vesk.log() << "--- end of vesk log ---\n";
        }
    }

    void startVesk() { ASSERT_TRUE(m_desktop->startVesk()) << "vesk did not start"; }
    // Vesk, then `editor` with `text`, then the clipboard held with `formats` by another program.
    void start(const Target& editor, const std::string& text, const std::vector<std::string>& formats);
    void holdClipboard(const std::vector<std::string>& formats);
    void press(const std::vector<std::string>& strokes) { ASSERT_EQ(m_desktop->press(strokes), ""); }
    [[nodiscard]] std::string clipboard() const { return m_desktop->clipboard("text/plain"); }
    [[nodiscard]] bool hasFocus() const { return m_desktop->hasFocus(m_target); }
    [[nodiscard]] bool panelShown() const { return m_desktop->panelShown(); }
    bool waitForPanelGone(std::chrono::milliseconds timeout = 3s) const
    {
        return waitUntil([&] { return !panelShown(); }, timeout, 50ms);
    }
    // Selects the whole document and asks for its correction with the shortcut (or `vesk fix`); request `n`
    // reaches the provider with the text and (with review) the panel takes the keys.
    void correct(bool review = true, bool fixCommand = false, std::size_t n = 1);
    void waitForPanelKeys() { ASSERT_TRUE(m_desktop->waitForPanelKeys()) << "the panel did not take the keys"; }
    // Return in the panel, pressed again while the panel stays: it waits for a reply still streaming.
    void acceptInPanel();
    // Saves with Ctrl+S whenever the editor has the focus until the file holds `expected`; what it held last.
    std::string saveUntil(const std::string& expected);

    test::ScriptedProviderServer m_server;
    VeskSession m_vesk;
    std::unique_ptr<DesktopDriver> m_desktop = DesktopDriver::forThisSession(m_vesk);
    Target m_target{};
    std::unique_ptr<BackgroundProcess> m_owner;
};

} // namespace vesk::e2e
