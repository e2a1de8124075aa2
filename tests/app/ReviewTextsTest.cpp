#include "app/models/ReviewTexts.h"

#include <QLocale>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

using Session = CorrectionSession;

TEST(ReviewTextsTest, StateGivesPhaseAndTitle)
{
    const std::tuple<Session::State, ReviewPhase, const char*> rows[] = {
        {Session::Reading{}, ReviewPhase::reading, "Correcting"},
        {Session::Editing{}, ReviewPhase::reading, "Correcting"},
        {Session::Streaming{""}, ReviewPhase::writing, "Correcting"},
        {Session::Result{"the cat", CorrectionDiff::plan("teh cat", "the cat")}, ReviewPhase::result, "Review"},
        {Session::Result{"the cat", CorrectionDiff::plan("the cat", "the cat")}, ReviewPhase::noChanges, "Looks good"},
        {Session::Failed{{"No OpenAI key yet", "Add your API key in Settings.", {}}}, ReviewPhase::error,
         "Couldn't correct"},
    };
    for (const auto& [state, phase, title] : rows) {
        EXPECT_EQ(ReviewTexts::phaseOf(state), phase) << title;
        EXPECT_EQ(ReviewTexts::title(phase), title);
    }
}

// The app is named when its name, without a parenthesised suffix, is at most 18 user-perceived characters.
TEST(ReviewTextsTest, PrimaryTitleNamesTheAppWhenItFits)
{
    const auto title = [](std::optional<QString> app) { return ReviewTexts::primaryTitle(true, app); };
    EXPECT_EQ(ReviewTexts::primaryTitle(false, QString("Mousepad")), "Keep original");
    EXPECT_EQ(title(QString("Mousepad")), "Replace in Mousepad");
    EXPECT_EQ(title(QString("Firefox (Private Browsing)")), "Replace in Firefox");
    EXPECT_EQ(title(QString("Notes (draft) 2")), "Replace in Notes (draft) 2");
    EXPECT_EQ(title(QString("LibreOffice Writer")), "Replace in LibreOffice Writer");
    EXPECT_EQ(title(QString("LibreOffice Writers")), "Replace");
    EXPECT_EQ(title(QString::fromUtf8("Ecrire e\xCC\x81tude-notes")),
              QString::fromUtf8("Replace in Ecrire e\xCC\x81tude-notes"));
    EXPECT_EQ(title(std::nullopt), "Replace");
}

TEST(ReviewTextsTest, CountsAreSingularForOneAndGroupDigitsByLocale)
{
    EXPECT_EQ(ReviewTexts::changeCount(0), "0 changes");
    EXPECT_EQ(ReviewTexts::changeCount(1), "1 change");
    EXPECT_EQ(ReviewTexts::characterCount(1), "1 character");
    const QLocale previous;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    EXPECT_EQ(ReviewTexts::characterCount(1234), "1.234 characters");
    QLocale::setDefault(previous);
}

TEST(ReviewTextsTest, SubtitleCountsChangesOnlyForAResultAndTheStatusNamesTheAppWhileReading)
{
    CorrectionSettings polish;
    polish.strength = CorrectionStrength::clarityFlow;
    polish.tone = Tone::friendly;
    EXPECT_EQ(ReviewTexts::subtitle(ReviewPhase::result, 1, polish, QString("Mousepad")),
              QString::fromUtf8("1 change · Polish · Friendly · from Mousepad"));
    EXPECT_EQ(ReviewTexts::subtitle(ReviewPhase::writing, 0, std::nullopt, QString("Kate")), "from Kate");
    EXPECT_EQ(ReviewTexts::subtitle(ReviewPhase::noChanges, 0, std::nullopt, std::nullopt), "");
    EXPECT_EQ(ReviewTexts::statusLine(ReviewPhase::reading, QString()), "Reading selection");
    EXPECT_EQ(ReviewTexts::statusLine(ReviewPhase::writing, QString("Mousepad")), "Writing the correction");
    EXPECT_EQ(ReviewTexts::statusLine(ReviewPhase::result, QString("Mousepad")), "");
}

TEST(ReviewTextsTest, OnlyKeyFailuresOfferSettings)
{
    const auto offers = [](ProviderError error) {
        return ReviewTexts::offersOpenSettings(ProviderFailure::from(error, ProviderID::openai));
    };
    EXPECT_TRUE(offers(ProviderError::missingAPIKey(ProviderID::openai)));
    EXPECT_TRUE(offers(ProviderError::http(401, "bad key")));
    EXPECT_TRUE(offers(ProviderError::http(403, "forbidden")));
    EXPECT_FALSE(offers(ProviderError::http(429, "slow down")));
    EXPECT_FALSE(offers(ProviderError::timeout()));
}

} // namespace
} // namespace vesk::app
