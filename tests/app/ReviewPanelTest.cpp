#include "ViewTesting.h"
#include "app/models/Appearance.h"
#include "app/services/AppSettings.h"
#include "app/windows/ReviewPanelController.h"
#include "support/FakeCorrectionEngine.h"
#include "support/fake/FakePlatform.h"

#include <QQuickItem>
#include <QQuickView>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

using Session = CorrectionSession;

class ReviewPanelTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { test::useSoftwareRendering(); }

    void SetUp() override { qputenv("VESK_REDUCE_MOTION", "0"); }
    void TearDown() override { qunsetenv("VESK_REDUCE_MOTION"); }

    void show(Session& session)
    {
        panel.show(session, {[this] { ++accepted; }, [this] { ++closed; }, [this] { ++settingsOpened; }});
        test::settle(panel.window());
    }
    std::unique_ptr<Session> shown(std::string original)
    {
        auto session = fake.session(std::move(original));
        show(*session);
        return session;
    }

    void finish(Session& session, const std::string& reply, std::optional<ProviderError> error = {})
    {
        session.start();
        error ? fake.fail(std::move(*error)) : fake.complete({reply});
        test::settle(panel.window());
    }

    QObject* child(const char* name) const
    {
        const auto* view = qobject_cast<QQuickView*>(panel.window());
        return view->rootObject()->findChild<QObject*>(QString::fromLatin1(name));
    }

    // The panel over a desktop-like backdrop, so its shadow and corners show as they would on a composited
    // desktop: the offscreen platform's windows have no alpha channel, so the backdrop is the window's own
    // clear colour while the picture is taken.
    void screenshot(const QString& name) const
    {
        panel.window()->setColor(QColor("#6b7a96"));
        test::screenshot(panel.window(), name);
        panel.window()->setColor(Qt::transparent);
    }

    QTemporaryDir dir;
    AppSettings settings{std::make_unique<QSettings>(dir.filePath("vesk.conf"), QSettings::IniFormat)};
    test::FakeCorrectionEngine fake;
    FakeDesktopAppearance appearance;
    ReviewPanelController panel{settings, appearance};
    int accepted = 0;
    int closed = 0;
    int settingsOpened = 0;
};

TEST_F(ReviewPanelTest, EveryPhaseRendersWithoutQmlWarnings)
{
    const test::WarningRecorder recorder;
    auto session = shown("Their going too the libary tomorow, and they wants to borrow some book.");
    EXPECT_TRUE(panel.isVisible());
    screenshot("panel-reading.png");

    session->start();
    fake.write({"They're going to the library tomorrow, and"});
    screenshot("panel-writing.png");
    fake.complete({" they want to borrow some books."});
    screenshot("panel-result.png");
    Appearance::instance().setScheme(ColorScheme::Scheme::light);
    screenshot("panel-result-light.png");
    Appearance::instance().setScheme(ColorScheme::Scheme::dark);

    finish(*session, "Their going too the libary tomorow, and they wants to borrow some book.");
    screenshot("panel-no-changes.png");

    finish(*session, "", ProviderError::http(401, "invalid x-api-key"));
    screenshot("panel-error.png");

    EXPECT_EQ(recorder.warnings(), "");
}

TEST_F(ReviewPanelTest, OpensCentredAndGrowsDownwardWithItsContent)
{
    auto session = shown("teh cat");
    // Where it goes on the screen is PanelGeometryTest's; here: the panel follows its content.
    const QRect opened = panel.window()->geometry();
    EXPECT_EQ(opened.width(), 640);
    EXPECT_LE(opened.height(), 240) << "the reading phase needs less than the initial size";
    finish(*session, QString("Teh quick brown fox jumps over the lazy dog. ").repeated(40).toStdString());
    const QRect grown = panel.window()->geometry();
    EXPECT_EQ(grown.top(), opened.top());
    EXPECT_GT(grown.height(), opened.height());
    EXPECT_LT(grown.height(), 500) << "a long diff scrolls instead of growing without end";
}

TEST_F(ReviewPanelTest, KeysActOnEachPhase)
{
    auto session = shown("teh cat");
    finish(*session, "the cat");
    ASSERT_TRUE(QTest::qWaitForWindowActive(panel.window(), 1000));
    QTest::keyClick(panel.window(), Qt::Key_Return);
    EXPECT_EQ(accepted, 1);
    QTest::keyClick(panel.window(), Qt::Key_R, Qt::ControlModifier);
    EXPECT_EQ(fake.streams.size(), 2U) << "Ctrl+R runs the correction again";
    QTest::keyClick(panel.window(), Qt::Key_Return);
    EXPECT_EQ(accepted, 1) << "nothing to accept while a re-run works";

    fake.complete({"teh cat"});
    test::settle(panel.window());
    QTest::keyClick(panel.window(), Qt::Key_Return);
    EXPECT_EQ(closed, 1) << "\"Keep original\" ends the correction";
    finish(*session, "", ProviderError::timeout());
    QTest::keyClick(panel.window(), Qt::Key_Return);
    EXPECT_EQ(fake.streams.size(), 4U) << "Return retries";
    QTest::keyClick(panel.window(), Qt::Key_Escape);
    EXPECT_EQ(closed, 2);
}

TEST_F(ReviewPanelTest, ReducedMotionStillsTheIndicators)
{
    auto session = shown("hello");
    ASSERT_NE(child("typingDots"), nullptr);
    EXPECT_TRUE(child("typingDots")->property("animated").toBool());

    qputenv("VESK_REDUCE_MOTION", "1");
    show(*session);
    EXPECT_FALSE(child("typingDots")->property("animated").toBool());
    session->start();
    test::settle(panel.window());
    ASSERT_NE(child("progressHairline"), nullptr);
    EXPECT_FALSE(child("progressHairline")->property("animated").toBool());
}

TEST_F(ReviewPanelTest, HideLetsGoOfTheSession)
{
    auto session = shown("hello");
    panel.hide();
    EXPECT_FALSE(panel.isVisible());
    session.reset(); // a session destroyed after hide() must not be touched again
    auto next = shown("again");
    EXPECT_TRUE(panel.isVisible());
}

} // namespace
} // namespace vesk::app
