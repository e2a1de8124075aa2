// A first launch on a fresh profile: the guide opens, a pasted key is checked against the scripted
// provider and saved to the session's keyring, the practice sentence is corrected through the real
// shortcut, review panel and paste, and the next launch goes straight to the tray. Every page is
// photographed for a look by eye.

#include "e2e/FlowTest.h"

#include <thread>

namespace vesk::e2e {
namespace {

const std::string practiceFixed = "They're going to the library tomorrow, and they want to borrow some books.";

class FirstLaunchTest : public FlowTest
{
protected:
    [[nodiscard]] bool guideShown() const
    {
        const auto windows = visibleWindows(m_vesk.pid());
        return std::any_of(windows.begin(), windows.end(), [](const auto& w) { return w.name == "Welcome to Vesk"; });
    }

    // Lets the page change and draw before it is photographed.
    static void shoot(const std::string& name)
    {
        std::this_thread::sleep_for(400ms);
        screenshot(name);
    }
};

TEST_F(FirstLaunchTest, GuideVerifiesTheKeyPracticesAndIsNotShownAgain)
{
    // A fresh profile: the session's keyring is shared with the other tests, which save keys in it.
    ASSERT_EQ(m_vesk.run({"key", "remove", "openai"}).exitCode, 0);
    ASSERT_EQ(m_vesk.run({"key", "remove", "anthropic"}).exitCode, 0);
    ASSERT_EQ(m_vesk.run({"settings", "--provider", "openai", "--endpoint", m_server.url("")}).exitCode, 0);
    m_server.respondWith([](const RecordedRequest& request) {
        const bool probe = request.body.find("helo wrld") != std::string::npos;
        return reply(probe ? std::string("hello world") : practiceFixed);
    });
    const auto guideActive = [] { return activeWindowName() == "Welcome to Vesk"; };
    ASSERT_TRUE(m_vesk.start());
    ASSERT_TRUE(waitUntil([&] { return guideShown(); }, 10s)) << "the guide did not open";
    ASSERT_TRUE(waitUntil(guideActive, 5s));
    shoot("onboarding-1-provider"); // also lets the new window settle before typing

    // The key field has the keyboard; Return checks the key, and once it is saved Return moves on.
    runTool("xdotool", {"type", "--delay", "4", "sk-first-launch-0123456789"});
    pressKeys("Return");
    ASSERT_TRUE(m_server.waitForRequests(1, 5s)) << "the key was not checked";
    EXPECT_NE(m_server.requests()[0].body.find("helo wrld"), std::string::npos);
    const auto keySaved = [&] { return m_vesk.run({"key", "status"}).out.find("key saved") != std::string::npos; };
    ASSERT_TRUE(waitUntil(keySaved, 10s, 200ms)) << "the checked key was not saved";
    shoot("onboarding-1-connected");
    pressKeys("Return");
    shoot("onboarding-2-desktop");
    pressKeys("Return");
    shoot("onboarding-3-practice");

    // The practice field has the keyboard: select all, then the shortcut, as in any other app.
    pressKeys("ctrl+a alt+g");
    ASSERT_TRUE(m_server.waitForRequests(2, 5s)) << "the practice correction never reached the provider";
    EXPECT_NE(m_server.requests()[1].body.find("libary tomorow"), std::string::npos);
    ASSERT_TRUE(waitForSettledPanel(m_vesk.pid())) << "the review panel did not show";
    screenshot("onboarding-3-review");
    pressKeys("Return");
    ASSERT_TRUE(waitUntil([&] { return !reviewPanel(m_vesk.pid()); }, 5s));
    ASSERT_TRUE(waitUntil(guideActive, 5s));
    shoot("onboarding-3-practiced");

    // Continue is only possible once the corrected sentence is back in the field.
    pressKeys("Return");
    shoot("onboarding-4-done");
    pressKeys("Return");
    EXPECT_TRUE(waitUntil([&] { return !guideShown(); }, 5s)) << "finishing did not close the guide";
    EXPECT_NE(m_vesk.run({"settings"}).out.find("\"hasOnboarded\": true"), std::string::npos);

    m_vesk.stop();
    ASSERT_TRUE(m_vesk.start());
    EXPECT_FALSE(waitUntil([&] { return guideShown(); }, 2s)) << "the guide opened again";
    EXPECT_EQ(m_server.requests().size(), 2U);
}

} // namespace
} // namespace vesk::e2e
