#include "app/models/ReviewTexts.h"

#include "support/ParamName.h"

#include <QLocale>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

using Session = CorrectionSession;
using test::operator<<;

struct PhaseRow
{
    const char* name;
    Session::State state;
    ReviewPhase phase;
    const char* title;
};

class ReviewPhaseTest : public ::testing::TestWithParam<PhaseRow>
{
};

TEST_P(ReviewPhaseTest, StateGivesPhaseAndTitle)
{
    const PhaseRow& row = GetParam();
    EXPECT_EQ(ReviewTexts::phaseOf(row.state), row.phase);
    EXPECT_EQ(ReviewTexts::title(row.phase), row.title);
}

INSTANTIATE_TEST_SUITE_P(
    , ReviewPhaseTest,
    ::testing::Values(PhaseRow{"Reading", Session::Reading{}, ReviewPhase::reading, "Correcting"},
                      PhaseRow{"EditingCountsAsReading", Session::Editing{}, ReviewPhase::reading, "Correcting"},
                      PhaseRow{"StreamingNothingYet", Session::Streaming{""}, ReviewPhase::writing, "Correcting"},
                      PhaseRow{"ResultWithChanges",
                               Session::Result{"the cat", CorrectionDiff::plan("teh cat", "the cat")},
                               ReviewPhase::result, "Review"},
                      PhaseRow{"ResultWithoutChanges",
                               Session::Result{"the cat", CorrectionDiff::plan("the cat", "the cat")},
                               ReviewPhase::noChanges, "Looks good"},
                      PhaseRow{"Failed", Session::Failed{{"No OpenAI key yet", "Add your API key in Settings.", {}}},
                               ReviewPhase::error, "Couldn't correct"}),
    test::ParamName());

struct PrimaryRow
{
    const char* name;
    bool hasChanges;
    std::optional<QString> sourceApp;
    const char* title;
};

class PrimaryTitleTest : public ::testing::TestWithParam<PrimaryRow>
{
};

TEST_P(PrimaryTitleTest, NamesTheAppWhenItFits)
{
    const PrimaryRow& row = GetParam();
    EXPECT_EQ(ReviewTexts::primaryTitle(row.hasChanges, row.sourceApp), row.title);
}

INSTANTIATE_TEST_SUITE_P(
    , PrimaryTitleTest,
    ::testing::Values(
        PrimaryRow{"NoChangesKeepsTheOriginal", false, QString("Mousepad"), "Keep original"},
        PrimaryRow{"ShortName", true, QString("Mousepad"), "Replace in Mousepad"},
        PrimaryRow{"ParenthesisedSuffixGoes", true, QString("Firefox (Private Browsing)"), "Replace in Firefox"},
        PrimaryRow{"ParenthesesInsideStay", true, QString("Notes (draft) 2"), "Replace in Notes (draft) 2"},
        PrimaryRow{"EighteenCharacters", true, QString("LibreOffice Writer"), "Replace in LibreOffice Writer"},
        PrimaryRow{"NineteenCharacters", true, QString("LibreOffice Writers"), "Replace"},
        PrimaryRow{"AccentsCountAsOneCharacter", true, QString::fromUtf8("Ecrire e\xCC\x81tude-notes"),
                   "Replace in Ecrire e\xCC\x81tude-notes"},
        PrimaryRow{"NoApp", true, std::nullopt, "Replace"}),
    test::ParamName());

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
