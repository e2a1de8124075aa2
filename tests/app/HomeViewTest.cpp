#include "ViewTesting.h"
#include "app/AppSettings.h"
#include "app/ComposerModel.h"
#include "app/CorrectionEnvironment.h"
#include "app/HomeModel.h"
#include "app/HomeWindow.h"
#include "core/InMemoryKeyStore.h"
#include "support/FakeCorrectionEngine.h"
#include "support/ManualExecutor.h"

#include <QQmlContext>
#include <QQuickItem>
#include <QQuickView>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

using Session = CorrectionSession;

class HomeViewTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { test::useSoftwareRendering(); }

    QTemporaryDir dir;
    AppSettings settings{std::make_unique<QSettings>(dir.filePath("vesk.conf"), QSettings::IniFormat)};
};

TEST_F(HomeViewTest, WindowShowsEverySectionWithoutQmlWarnings)
{
    const test::WarningRecorder recorder;
    CorrectionEnvironment environment(settings, std::make_shared<InMemoryKeyStore>(), nullptr);
    HomeWindow home(environment);
    EXPECT_FALSE(home.isVisible());

    home.show(HomeSection::overview);
    ASSERT_NE(home.window(), nullptr);
    EXPECT_TRUE(home.isVisible());
    EXPECT_EQ(home.window()->title(), "Vesk");
    EXPECT_EQ(home.window()->size(), QSize(920, 620));
    EXPECT_EQ(home.window()->minimumSize(), QSize(820, 540));
    for (const HomeSection section : {HomeSection::composer, HomeSection::activity, HomeSection::settings}) {
        home.show(section);
        test::settle(home.window());
    }
    home.openComposer(ComposerDraft{QUuid::createUuid(), "Reused text", false});
    test::settle(home.window());
    const auto* view = qobject_cast<QQuickView*>(home.window());
    EXPECT_EQ(view->rootObject()->property("selectedSection").toString(), "composer");
    EXPECT_EQ(recorder.warnings(), "");
}

// The composer in each of its states, on a fake engine, as PNG files for a look by eye.
class ComposerScreenshotTest : public HomeViewTest
{
protected:
    void SetUp() override
    {
        view.rootContext()->setContextProperty("home", &home);
        view.rootContext()->setContextProperty("composer", &composer);
        view.rootContext()->setContextProperty("reduceMotion", true);
        view.setResizeMode(QQuickView::SizeRootObjectToView);
        view.resize(920, 620);
        view.setSource(QUrl("qrc:/vesk/views/HomeView.qml"));
        home.select(HomeSection::composer);
        view.show();
        test::settle(&view);
    }

    void screenshot(const QString& name)
    {
        test::settle(&view);
        EXPECT_TRUE(view.grabWindow().save(test::artifactsDir().filePath(name)));
    }

    test::FakeCorrectionEngine fake;
    test::ManualExecutor executor;
    HomeModel home;
    ComposerModel composer{[this](std::string original) {
        return std::make_unique<Session>(Session::Editing{}, std::move(original), "", std::nullopt, fake.engine(),
                                         executor.executor());
    }};
    QQuickView view;
};

TEST_F(ComposerScreenshotTest, EveryState)
{
    const test::WarningRecorder recorder;
    screenshot("composer-empty.png");

    composer.setText("Their going too the libary tomorow, and they wants to borrow some book.");
    screenshot("composer-text.png");

    composer.fixGrammar();
    fake.last().callbacks.onEvent(CorrectionEvent::makeDelta("They're going to the library"));
    executor.drain();
    screenshot("composer-writing.png");

    fake.complete({" tomorrow, and they want to borrow some books."});
    executor.drain();
    screenshot("composer-result.png");

    composer.fixGrammar();
    fake.complete({"Their going too the libary tomorow, and they wants to borrow some book."});
    executor.drain();
    screenshot("composer-no-changes.png");

    composer.fixGrammar();
    fake.last().callbacks.onFinish(ProviderError::missingAPIKey(ProviderID::openai));
    executor.drain();
    screenshot("composer-error.png");

    home.select(HomeSection::overview);
    screenshot("home-overview.png");
    EXPECT_EQ(recorder.warnings(), "");
}

} // namespace
} // namespace vesk::app
