// The first-launch guide's pages, the practice check and the end of setup.

#include "app/models/OnboardingModel.h"

#include "ViewTesting.h"
#include "app/services/AppSettings.h"
#include "app/services/HistoryStore.h"
#include "app/windows/OnboardingWindow.h"
#include "app/models/ProviderConnection.h"
#include "support/InMemoryKeyStore.h"
#include "support/fake/FakePlatform.h"

#include <QQuickWindow>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

AcceptedCorrection accepted(const QString& original)
{
    return {original.toStdString(),
            "They're going to the library tomorrow.",
            CorrectionRun{ProviderID::openai, "gpt-4o-mini", {}, {}},
            std::nullopt,
            5,
            "vesk"};
}

class OnboardingModelTest : public ::testing::Test
{
protected:
    QTemporaryDir dir;
    AppSettings settings{std::make_unique<QSettings>(dir.filePath("vesk.conf"), QSettings::IniFormat)};
    HistoryStore history{dir.filePath("history.sqlite3")};
    bool canPost = false;
    OnboardingModel model{settings, history, nullptr, {[this] { return canPost; }, "No XTest here.", false}};
};

TEST_F(OnboardingModelTest, PagesStayInRangeAndTheDesktopIsAskedAgain)
{
    EXPECT_EQ(model.page(), OnboardingModel::providerPage);
    model.back();
    EXPECT_EQ(model.page(), OnboardingModel::providerPage);
    EXPECT_FALSE(model.canPostInput());
    canPost = true;
    QSignalSpy changed(&model, &OnboardingModel::canPostInputChanged);
    model.next();
    EXPECT_TRUE(model.canPostInput()) << "entering the desktop page asks again";
    EXPECT_EQ(changed.count(), 1);
    model.next();
    model.next();
    model.next();
    EXPECT_EQ(model.page(), OnboardingModel::donePage);
    EXPECT_EQ(model.shortcutText(), "your shortcut") << "no shortcut settings given";
}

TEST_F(OnboardingModelTest, PracticeCountsOnceItsCorrectionIsInTheFieldAndFinishingIsRemembered)
{
    QSignalSpy practiced(&model, &OnboardingModel::practicedChanged);
    history.record(accepted("some other text"));
    EXPECT_FALSE(model.practiced());
    history.record(accepted(OnboardingModel::practiceSentence() + "\n"));
    EXPECT_FALSE(model.practiced()) << "accepted, but not in the field yet";
    model.setPracticeText("They're going to the library tomorrow.");
    EXPECT_TRUE(model.practiced());
    EXPECT_EQ(practiced.count(), 1);

    EXPECT_FALSE(settings.hasOnboarded());
    QSignalSpy finished(&model, &OnboardingModel::finished);
    model.finish();
    EXPECT_EQ(finished.count(), 1);
    EXPECT_TRUE(
        AppSettings(std::make_unique<QSettings>(dir.filePath("vesk.conf"), QSettings::IniFormat)).hasOnboarded());
}

// Every page as the user sees it, loaded without a QML warning, photographed for a look by eye.
TEST_F(OnboardingModelTest, WindowShowsEveryPage)
{
    test::useSoftwareRendering();
    const test::WarningRecorder recorder;
    auto keys = std::make_shared<InMemoryKeyStore>();
    ProviderConnection connection(settings, keys, [](const ProviderConnection::Probe&, std::stop_token) {
        return std::optional<ProviderError>();
    });
    FakeDesktopAppearance appearance;
    OnboardingWindow window(
        settings, history, connection, nullptr,
        {[] { return false; }, "Vesk can't send keystrokes to other apps in a Wayland session.", true}, appearance);
    window.show();
    ASSERT_NE(window.window(), nullptr);
    EXPECT_EQ(window.window()->title(), "Welcome to Vesk");
    const auto shoot = [&window](const char* name) {
        test::settle(window.window());
        EXPECT_TRUE(window.window()->grabWindow().save(test::artifactsDir().filePath(name)));
    };
    shoot("onboarding-provider.png");
    connection.setDraft("sk-test");
    connection.verifyAndSave();
    QTRY_VERIFY_WITH_TIMEOUT(connection.hasSavedKey(), 5000);
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
