#pragma once

// What every end-to-end test has: the scripted provider server on loopback, one Vesk configured for it, and
// on failure a report on standard error of what the desktop showed and what Vesk logged.

#include "e2e/VeskSession.h"
#include "support/ParamName.h"
#include "support/ScriptedProviderServer.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iostream>

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

// What the user had on the clipboard before a correction (all of it must be back afterwards), and how the
// correction was made.
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
    bool review = true;
    Trigger trigger = Trigger::shortcut;
    bool png = false;
};

// Two presses of the shortcut on the X11 and Wayland desktops, the second while the first still streams.
struct SecondPressCase
{
    const char* name;
    std::chrono::milliseconds firstReplyGap; // slow enough to be streaming still when the second press comes
    bool onceThePanelShows;
};

inline const SecondPressCase secondPressCases[] = {{"QuickSecondPressWins", 150ms, false},
                                                   {"PressWhileStreamingReplacesTheFirst", 300ms, true}};
inline const std::string secondFix = "The cat sat on the mat!";

class FlowTest : public ::testing::Test
{
protected:
    void TearDown() override
    {
        if (HasFailure()) {
            std::cerr << describeDesktop() << "--- vesk log ---\n" << m_vesk.log() << "--- end of vesk log ---\n";
        }
    }

    // The X11 desktop's windows and a screenshot named after the test.
    [[nodiscard]] virtual std::string describeDesktop() const
    {
        const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
        std::string name = std::string("failed-") + info->test_suite_name() + "-" + info->name();
        std::replace(name.begin(), name.end(), '/', '-');
        return describeScreen() + "screenshot: " + screenshot(name).string() + "\n";
    }

    test::ScriptedProviderServer m_server;
    VeskSession m_vesk;
};

} // namespace vesk::e2e
