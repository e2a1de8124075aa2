
#include "app/models/OnboardingModel.h"

#include "HistoryTesting.h"
#include "ViewTesting.h"
#include "app/models/ProviderConnection.h"
#include "app/services/AppSettings.h"
#include "app/services/HistoryStore.h"
#include "app/windows/OnboardingWindow.h"
#include "support/InMemoryKeyStore.h"
#include "support/SettingsFile.h"
#include "support/fake/FakePlatform.h"

#include <QQuickWindow>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

class OnboardingModelTest : public ::testing::Test
{
protected:
    test::SettingsFile file;
    AppSettings settings{file.open()};
    HistoryStore history{file.dir.filePath("history.sqlite3")};
    bool canPost = false;
    OnboardingModel model{settings, history, nullptr, {[this] { return canPost; }, "No XTest here.", false}};
};

TEST_F(OnboardingModelTest, PagesStayInRangeAndTheDesktopIsAskedAgain)
{
    model.back();
    EXPECT_EQ(model.page(), OnboardingModel::providerPage);
    EXPECT_FALSE(model.canPostInput());
    canPost = true;
    QSignalSpy changed(&model, &OnboardingModel::canPostInputChanged);
    model.next();
    EXPECT_TRUE(model.canPostInput()) << "entering the desktop page asks again";
    EXPECT_EQ(changed.count(), 1);
    for (int i = 0; i < 4; ++i) {
        model.next();
    }
    EXPECT_EQ(model.page(), OnboardingModel::donePage);
    EXPECT_EQ(model.shortcutText(), "your shortcut") << "no shortcut settings given";
}

TEST_F(OnboardingModelTest, PracticeCountsOnceItsCorrectionIsInTheFieldAndFinishingIsRemembered)
{
    QSignalSpy practiced(&model, &OnboardingModel::practicedChanged);
    const std::string corrected = "They're going to the library tomorrow.";
    history.record(test::accepted("some other text", corrected));
    history.record(test::accepted((OnboardingModel::practiceSentence() + "\n").toStdString(), corrected));
    EXPECT_FALSE(model.practiced()) << "accepted, but not in the field yet";
    model.setPracticeText(QString::fromStdString(corrected));
    EXPECT_TRUE(model.practiced());
    EXPECT_EQ(practiced.count(), 1);

    QSignalSpy finished(&model, &OnboardingModel::finished);
    model.finish();
    EXPECT_EQ(finished.count(), 1);
    EXPECT_TRUE(AppSettings(file.open()).hasOnboarded());
}

TEST_F(OnboardingModelTest, WindowShowsEveryPage)
{
    test::useSoftwareRendering();
    const test::WarningRecorder recorder;
    ProviderConnection connection(
        settings, std::make_shared<InMemoryKeyStore>(),
        [](const ProviderConnection::Probe&, std::stop_token) { return std::optional<ProviderError>(); });
    FakeDesktopAppearance appearance;
    OnboardingWindow window(
        settings, history, connection, nullptr,
        {[] { return false; }, "Vesk can't send keystrokes to other apps in a Wayland session.", true}, appearance);
    window.show();
    const auto shoot = [&window](const char* name) { test::screenshot(window.window(), name); };
    shoot("onboarding-provider.png");
    connection.setDraft("sk-test");
    connection.verifyAndSave();
    ASSERT_TRUE(QTest::qWaitFor([&] { return connection.hasSavedKey(); }));
    shoot("onboarding-provider-saved.png");
    for (const char* name : {"onboarding-desktop-wayland.png", "onboarding-practice.png", "onboarding-done.png"}) {
        window.model()->next();
        shoot(name);
    }
    QSignalSpy finished(&window, &OnboardingWindow::finished);
    window.model()->finish();
    EXPECT_EQ(finished.count(), 1);
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(recorder.warnings(), "");
}

} // namespace
} // namespace vesk::app
