// The first-launch guide's pages, the practice check and the end of setup.

#include "app/OnboardingModel.h"

#include "app/AppSettings.h"
#include "app/HistoryStore.h"

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

} // namespace
} // namespace vesk::app
