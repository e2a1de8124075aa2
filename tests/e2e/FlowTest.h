#pragma once

// What every end-to-end test has: the scripted provider server on loopback, one Vesk configured for it, the
// desktop it runs on behind a driver, and on failure a report on standard error of what the desktop showed
// and what Vesk logged.

#include "e2e/DesktopDriver.h"
#include "support/ParamName.h"
#include "support/ScriptedProviderServer.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace vesk::e2e {

using test::RecordedRequest;
using test::ScriptedResponse;
namespace streams = test::streams;
namespace fs = std::filesystem;

inline ScriptedResponse reply(const std::string& text, std::chrono::milliseconds gap = 0ms)
{
    return ScriptedResponse::events(streams::openAI(streams::split(text, 4)), gap);
}

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
            const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
            std::string shot = std::string("failed-") + test->test_suite_name() + "-" + test->name();
            std::replace(shot.begin(), shot.end(), '/', '-');
            std::cerr << m_desktop->describe(shot) << "--- vesk log ---\n"
                      << m_vesk.log() << "--- end of vesk log ---\n";
        }
    }

    void startVesk() { ASSERT_TRUE(m_desktop->startVesk()) << "vesk did not start"; }
    // Vesk, then `editor` with `text`, then the clipboard held with `formats` by another program.
    void start(const Target& editor, const std::string& text, const std::vector<std::string>& formats);
    void holdClipboard(const std::vector<std::string>& formats)
    {
        ASSERT_TRUE(m_desktop->holdClipboard(formats)) << "the clipboard wasn't taken";
    }
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
    std::string saveUntil(const std::string& expected) { return m_desktop->saveUntil(m_target, expected); }

    test::ScriptedProviderServer m_server;
    VeskSession m_vesk;
    std::unique_ptr<DesktopDriver> m_desktop = DesktopDriver::forThisSession(m_vesk);
    Target m_target{};
};

} // namespace vesk::e2e
