#include "ViewTesting.h"
#include "app/models/Appearance.h"
#include "app/models/ComposerModel.h"
#include "app/models/HistoryActions.h"
#include "app/models/HistoryListModel.h"
#include "app/models/HomeModel.h"
#include "app/models/OverviewModel.h"
#include "app/models/ProviderConnection.h"
#include "app/models/SettingsModel.h"
#include "app/services/AppSettings.h"
#include "app/services/CorrectionEnvironment.h"
#include "app/services/HistoryStore.h"
#include "app/services/ShortcutSettings.h"
#include "app/windows/HomeWindow.h"
#include "support/CalendarTesting.h"
#include "support/FakeCorrectionEngine.h"
#include "support/InMemoryKeyStore.h"
#include "support/fake/FakePlatform.h"

#include <QQuickItem>
#include <QQuickView>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

class HomeViewTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { test::useSoftwareRendering(); }

    QTemporaryDir dir;
    AppSettings settings{std::make_unique<QSettings>(dir.filePath("vesk.conf"), QSettings::IniFormat)};
    std::shared_ptr<InMemoryKeyStore> keys = std::make_shared<InMemoryKeyStore>();
    ProviderConnection connection{settings, keys, ProviderConnection::correctionProbe(nullptr)};
    ShortcutSettings shortcuts{std::make_unique<QSettings>(dir.filePath("shortcuts.conf"), QSettings::IniFormat)};
};

TEST_F(HomeViewTest, WindowShowsEverySectionWithoutQmlWarnings)
{
    const test::WarningRecorder recorder;
    CorrectionEnvironment environment(settings, keys, nullptr);
    HistoryStore history(dir.filePath("history.sqlite3"));
    FakeDesktopAppearance appearance;
    HomeWindow home(environment, history, connection, shortcuts, appearance);
    EXPECT_FALSE(home.isVisible());

    home.show(HomeSection::overview);
    ASSERT_NE(home.window(), nullptr);
    EXPECT_TRUE(home.isVisible());
    for (const HomeSection section : {HomeSection::composer, HomeSection::activity, HomeSection::settings}) {
        home.show(section);
        test::settle(home.window());
    }
    home.openComposer(ComposerDraft{QUuid::createUuid(), "Reused text", false});
    test::settle(home.window());
    const auto* view = qobject_cast<QQuickView*>(home.window());
    EXPECT_EQ(view->rootObject()->property("selectedSection"), "composer");

    home.window()->close();
    EXPECT_EQ(home.window(), nullptr) << "a closed window goes, with its QML engine";
    home.show(HomeSection::activity);
    test::settle(home.window());
    EXPECT_EQ(qobject_cast<QQuickView*>(home.window())->rootObject()->property("selectedSection"), "activity");
    EXPECT_EQ(recorder.warnings(), "");
}

// The home view on a fake engine and a real history file, with the clock pinned, for screenshots that
// are looked at by eye and for checks through the view's own objects.
class HomeScreenshotTest : public HomeViewTest
{
protected:
    void SetUp() override
    {
        recent.setLimit(6);
        view.setInitialProperties({{"home", QVariant::fromValue(&home)},
                                   {"composer", QVariant::fromValue(&composer)},
                                   {"overview", QVariant::fromValue(&overview)},
                                   {"recent", QVariant::fromValue(&recent)},
                                   {"activity", QVariant::fromValue(&activity)},
                                   {"historyActions", QVariant::fromValue(&actions)},
                                   {"settings", QVariant::fromValue(&settingsModel)}});
        view.setResizeMode(QQuickView::SizeRootObjectToView);
        view.resize(920, 620);
        QmlWindow::useModule(*view.engine());
        view.setSource(QmlWindow::viewUrl("HomeView"));
        home.select(HomeSection::composer);
        view.show();
        test::settle(&view);
    }

    void screenshot(const QString& name)
    {
        test::settle(&view);
        EXPECT_TRUE(view.grabWindow().save(test::artifactsDir().filePath(name)));
    }

    static TimePoint clock() { return std::chrono::system_clock::now(); }

    test::FakeCorrectionEngine fake;
    HistoryStore history{dir.filePath("history.sqlite3")};
    HomeModel home;
    SettingsModel settingsModel{settings, connection, shortcuts};
    ComposerModel composer{[this](std::string original) {
        return fake.session(std::move(original), std::nullopt, CorrectionSession::Editing{});
    }};
    OverviewModel overview{history, nullptr, &clock, test::pinned("UTC")};
    HistoryListModel recent{history, &clock, test::pinned("UTC")};
    HistoryListModel activity{history, &clock, test::pinned("UTC")};
    std::vector<ComposerDraft> drafts;
    HistoryActions actions{history, home, [this](const ComposerDraft& draft) { drafts.push_back(draft); },
                           [](const QString&) {}};
    QQuickView view;
};

using ComposerScreenshotTest = HomeScreenshotTest;

TEST_F(ComposerScreenshotTest, EveryState)
{
    const test::WarningRecorder recorder;
    screenshot("composer-empty.png");

    composer.setText("Their going too the libary tomorow, and they wants to borrow some book.");
    screenshot("composer-text.png");

    composer.fixGrammar();
    fake.write({"They're going to the library"});
    screenshot("composer-writing.png");
    fake.complete({" tomorrow, and they want to borrow some books."});
    screenshot("composer-result.png");

    composer.fixGrammar();
    fake.complete({"Their going too the libary tomorow, and they wants to borrow some book."});
    screenshot("composer-no-changes.png");

    composer.fixGrammar();
    fake.fail(ProviderError::missingAPIKey(ProviderID::openai));
    screenshot("composer-error.png");

    EXPECT_EQ(recorder.warnings(), "");
}

AcceptedCorrection accepted(const char* original, const char* corrected, int changes, const char* source)
{
    return {original,
            corrected,
            CorrectionRun{ProviderID::anthropic, "claude-haiku-4-5-20251001", {}, {}},
            TokenUsage{1843, 212},
            changes,
            source ? std::optional<std::string>(source) : std::nullopt};
}

TEST_F(HomeScreenshotTest, OverviewAndActivityEmptyThenWithHistory)
{
    const test::WarningRecorder recorder;
    home.select(HomeSection::overview);
    screenshot("overview-empty.png");
    home.select(HomeSection::activity);
    screenshot("activity-empty.png");

    history.record(accepted("teh meeting is moved too thursday", "The meeting is moved to Thursday.", 3, "Mousepad"));
    history.record(accepted("Their going to the libary", "They're going to the library.", 2, nullptr));
    history.record(accepted("i has a cafe creme", "I had a café crème.", 3, "Firefox"));
    history.record(accepted("   ", "   ", 0, "Terminal"));
    home.select(HomeSection::overview);
    screenshot("overview.png");

    home.select(HomeSection::activity);
    screenshot("activity-list.png");
    actions.open(history.records()[1].id);
    screenshot("activity-detail.png");
    activity.setQuery("  CAFE ");
    EXPECT_EQ(activity.count(), 1);
    screenshot("activity-search.png");
    activity.setQuery("zebra");
    screenshot("activity-no-match.png");
    activity.setQuery("");

    auto* dialog = view.rootObject()->findChild<QObject*>("confirmClear");
    ASSERT_NE(dialog, nullptr);
    QMetaObject::invokeMethod(dialog, "open");
    screenshot("activity-clear-confirmation.png");
    EXPECT_EQ(dialog->property("title").toString(), "Clear all activity?");
    QMetaObject::invokeMethod(dialog, "close");

    home.select(HomeSection::settings);
    screenshot("settings.png");

    // The light palette, switched live as when the desktop's preference changes.
    Appearance::instance().setScheme(ColorScheme::Scheme::light);
    screenshot("settings-light.png");
    home.select(HomeSection::overview);
    screenshot("overview-light.png");
    Appearance::instance().setScheme(ColorScheme::Scheme::dark);
    EXPECT_EQ(recorder.warnings(), "");
}

} // namespace
} // namespace vesk::app
