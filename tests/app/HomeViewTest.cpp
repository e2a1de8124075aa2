// The home window over a real history file: every section loads without a QML warning, empty and with
// history, in the dark and the light palette. The screenshots are for a look by eye.

#include "HistoryTesting.h"
#include "ViewTesting.h"
#include "app/models/Appearance.h"
#include "app/models/ProviderConnection.h"
#include "app/services/AppSettings.h"
#include "app/services/CorrectionEnvironment.h"
#include "app/services/HistoryStore.h"
#include "app/services/ShortcutSettings.h"
#include "app/windows/HomeWindow.h"
#include "support/InMemoryKeyStore.h"
#include "support/SettingsFile.h"
#include "support/fake/FakePlatform.h"

#include <QQuickItem>
#include <QQuickView>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

using test::accepted;

class HomeViewTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { test::useSoftwareRendering(); }

    QQuickItem* root() const { return qobject_cast<QQuickView*>(home.window())->rootObject(); }
    void shoot(HomeSection section, const QString& name)
    {
        home.show(section);
        test::screenshot(home.window(), name);
    }

    test::SettingsFile file;
    AppSettings settings{file.open()};
    std::shared_ptr<InMemoryKeyStore> keys = std::make_shared<InMemoryKeyStore>();
    ProviderConnection connection{settings, keys, ProviderConnection::correctionProbe(nullptr)};
    ShortcutSettings shortcuts{file.open()};
    CorrectionEnvironment environment{settings, keys, nullptr};
    HistoryStore history{file.dir.filePath("history.sqlite3")};
    FakeDesktopAppearance appearance;
    HomeWindow home{environment, history, connection, shortcuts, appearance};
};

TEST_F(HomeViewTest, EverySectionLoadsEmptyAndWithHistoryInBothPalettes)
{
    const test::WarningRecorder recorder;
    shoot(HomeSection::overview, "overview-empty.png");
    shoot(HomeSection::activity, "activity-empty.png");
    shoot(HomeSection::composer, "composer-empty.png");

    history.record(accepted("teh meeting is moved too thursday", "The meeting is moved to Thursday.", 3, "Mousepad"));
    history.record(accepted("Their going to the libary", "They're going to the library.", 2));
    history.record(accepted("i has a cafe creme", "I had a café crème.", 3, "Firefox"));
    history.record(accepted("   ", "   ", 0, "Terminal"));
    shoot(HomeSection::overview, "overview.png");
    shoot(HomeSection::activity, "activity-list.png");
    auto* dialog = root()->findChild<QObject*>("confirmClear");
    ASSERT_NE(dialog, nullptr);
    QMetaObject::invokeMethod(dialog, "open");
    shoot(HomeSection::activity, "activity-clear-confirmation.png");
    QMetaObject::invokeMethod(dialog, "close");
    shoot(HomeSection::settings, "settings.png");

    // The light palette, switched live as when the desktop's preference changes.
    Appearance::instance().setScheme(ColorScheme::Scheme::light);
    shoot(HomeSection::settings, "settings-light.png");
    shoot(HomeSection::overview, "overview-light.png");
    Appearance::instance().setScheme(ColorScheme::Scheme::dark);
    EXPECT_EQ(recorder.warnings(), "");
}

TEST_F(HomeViewTest, DraftsSelectTheComposerAndAClosedWindowLetsGoOfItsEngine)
{
    home.show(HomeSection::overview);
    home.openComposer(ComposerDraft{QUuid::createUuid(), "Reused text", false});
    test::settle(home.window());
    EXPECT_EQ(root()->property("selectedSection"), "composer");

    home.window()->close();
    EXPECT_EQ(home.window(), nullptr);
    home.show(HomeSection::activity);
    EXPECT_EQ(root()->property("selectedSection"), "activity");
}

} // namespace
} // namespace vesk::app
