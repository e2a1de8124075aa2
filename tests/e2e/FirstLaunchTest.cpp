// Launching Vesk on X11: on a fresh profile the guide opens with the keyboard, a typed key is checked against
// the scripted provider and saved to the session's keyring, the practice sentence goes through the real
// shortcut, review panel and paste, and the next launch goes straight to the tray, where a second launch
// finds it (and `vesk fix` says when none runs). The guide's pages and what they allow are
// OnboardingModelTest's.

#include "e2e/FlowTest.h"

#include <thread>

namespace vesk::e2e {
namespace {

using LaunchTest = FlowTest;

TEST_F(LaunchTest, FirstLaunchGuidesOnceAndLaterLaunchesFindTheRunningInstance)
{
    const test::ProcessResult fix = m_vesk.run({"fix"});
    EXPECT_EQ(fix.exitCode, 1);
    EXPECT_NE(fix.err.find("isn't running"), std::string::npos) << fix.err;
    // A fresh profile: the session's keyring is shared with the other tests, which save keys in it.
    for (const char* provider : {"openai", "anthropic"}) {
        ASSERT_EQ(m_vesk.run({"key", "remove", provider}).exitCode, 0);
    }
    ASSERT_EQ(m_vesk.run({"settings", "--provider", "openai", "--setup-done", "off"}).exitCode, 0);
    m_server.respondWith([](const RecordedRequest& request) {
        const bool probe = request.body.find("helo wrld") != std::string::npos;
        return reply(probe ? "hello world"
                           : "They're going to the library tomorrow, and they want to borrow some books.");
    });
    const auto guideShown = [&] { return m_desktop->windowShown("Welcome to Vesk"); };
    // Each page has the keyboard once it has drawn.
    const auto onGuide = [&](const std::string& shot) {
        EXPECT_TRUE(waitUntil([&] { return m_desktop->hasFocus({"Guide", {}, "", "Welcome to Vesk"}); }, 5s))
            << "at " << shot;
        std::this_thread::sleep_for(400ms);
        m_desktop->photograph(shot);
    };
    ASSERT_NO_FATAL_FAILURE(startVesk());
    ASSERT_TRUE(waitUntil(guideShown, 10s)) << "the guide did not open";
    onGuide("onboarding-1-provider");

    // Return checks the key typed in the key field, and once it is saved moves on.
    runTool("xdotool", {"type", "--delay", "4", "sk-first-launch-0123456789"});
    press({"Return"});
    ASSERT_TRUE(m_server.waitForRequests(1, 5s)) << "the key was not checked";
    const auto keySaved = [&] { return m_vesk.run({"key", "status"}).out.find("key saved") != std::string::npos; };
    ASSERT_TRUE(waitUntil(keySaved, 10s, 200ms)) << "the checked key was not saved";
    onGuide("onboarding-1-connected");
    press({"Return"});
    onGuide("onboarding-2-desktop");
    press({"Return"});
    onGuide("onboarding-3-practice");

    // The practice field has the keyboard: select all, then the shortcut, as in any other app. Continue is
    // only possible once the corrected sentence is back in the field.
    press({"ctrl+a", "alt+g"});
    ASSERT_TRUE(m_server.waitForRequests(2, 5s)) << "the practice correction never reached the provider";
    ASSERT_NO_FATAL_FAILURE(waitForPanelKeys());
    ASSERT_NO_FATAL_FAILURE(acceptInPanel());
    onGuide("onboarding-3-practiced");
    press({"Return"});
    onGuide("onboarding-4-done");
    press({"Return"});
    EXPECT_TRUE(waitUntil([&] { return !guideShown(); }, 5s)) << "finishing did not close the guide";

    m_vesk.stop();
    ASSERT_NO_FATAL_FAILURE(startVesk());
    EXPECT_FALSE(waitUntil(guideShown, 2s)) << "the guide opened again";
    ASSERT_FALSE(m_desktop->composerOpened()) << "with a tray the home window starts hidden";
    EXPECT_EQ(m_vesk.run({}).exitCode, 0);
    EXPECT_TRUE(waitUntil([&] { return m_desktop->composerOpened(); }, 5s)) << "the home window did not show";
    EXPECT_TRUE(m_vesk.isRunning());
}

} // namespace
} // namespace vesk::e2e
