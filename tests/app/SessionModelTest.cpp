// The session's model and the composer's over the fake engine; the texts themselves are ReviewTextsTest's.

#include "app/models/SessionModel.h"

#include "app/models/ComposerModel.h"
#include "support/FakeCorrectionEngine.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QSignalSpy>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

QVariantMap run(const char* text, const char* kind)
{
    return {{"text", QString::fromUtf8(text)}, {"kind", QString::fromUtf8(kind)}};
}

struct SessionModelTest : ::testing::Test
{
    test::FakeCorrectionEngine fake;
    SessionModel model;
};

TEST_F(SessionModelTest, FollowsTheSessionThroughItsPhasesAndReruns)
{
    fake.settings.tone = Tone::concise;
    auto session = fake.session("teh cat sat");
    model.setSession(session.get());
    QSignalSpy changed(&model, &SessionModel::changed);
    EXPECT_EQ(model.statusLine(), "Reading selection Mousepad");
    EXPECT_EQ(model.subtitle(), "from Mousepad") << "no settings known before the run";
    session->start();
    fake.write({"the cat"});
    EXPECT_EQ(model.phase(), "writing");
    EXPECT_EQ(model.streamingText(), "the cat");

    fake.complete({" sat."});
    EXPECT_EQ(model.phase(), "result");
    EXPECT_EQ(model.subtitle(), QString::fromUtf8("2 changes · Grammar · Concise · from Mousepad"));
    EXPECT_EQ(model.streamingText(), "");
    EXPECT_EQ(model.diffPieces(), (QVariantList{run("teh", "deleted"), run("the", "inserted"), run(" cat sat", "same"),
                                                run(".", "inserted")}));
    EXPECT_GE(changed.count(), 3);

    model.regenerate();
    EXPECT_EQ(fake.streams.size(), 2U);
    EXPECT_EQ(model.phase(), "result");
    EXPECT_TRUE(model.isOverlaying());
    fake.complete({"teh cat sat"});
    EXPECT_FALSE(model.isOverlaying());
    EXPECT_EQ(model.phase(), "noChanges");
    EXPECT_EQ(model.diffPieces(), (QVariantList{run("teh cat sat", "same")}));
}

TEST_F(SessionModelTest, FailureShowsItsMessageAndRetryRunsAgain)
{
    auto session = fake.session("hello");
    model.setSession(session.get());
    session->start();
    fake.fail(ProviderError::missingAPIKey(ProviderID::anthropic));
    EXPECT_EQ(model.phase(), "error");
    EXPECT_EQ(model.failureMessage(), "Add your API key in Settings.");
    EXPECT_TRUE(model.offersOpenSettings());

    model.retry();
    EXPECT_EQ(fake.streams.size(), 2U);
    EXPECT_EQ(model.phase(), "writing");
    EXPECT_FALSE(model.offersOpenSettings());
    EXPECT_EQ(model.failureMessage(), "");
}

TEST_F(SessionModelTest, SessionNoLongerFollowedIsNotListenedTo)
{
    auto first = fake.session("one");
    auto second = fake.session("two", std::nullopt);
    model.setSession(first.get());
    first->start();
    model.setSession(second.get());
    QSignalSpy changed(&model, &SessionModel::changed);
    fake.complete({"One."});
    EXPECT_EQ(changed.count(), 0);
    EXPECT_EQ(model.phase(), "reading");

    auto outlivesTheModel = fake.session("three");
    SessionModel(nullptr).setSession(outlivesTheModel.get());
    outlivesTheModel->start(); // would reach the destroyed model if the hook held it
    EXPECT_EQ(fake.streams.size(), 2U);
}

struct ComposerModelTest : ::testing::Test
{
    test::FakeCorrectionEngine fake;
    ComposerModel composer{[this](std::string original) {
        return fake.session(std::move(original), std::nullopt, CorrectionSession::Editing{});
    }};
};

TEST_F(ComposerModelTest, FixGrammarCorrectsTheEditorsText)
{
    EXPECT_TRUE(composer.session()->isEditing());
    composer.setText("  \n ");
    composer.fixGrammar();
    EXPECT_TRUE(fake.streams.empty()) << "blank text has nothing to fix";

    composer.setText("teh cat");
    composer.fixGrammar();
    ASSERT_EQ(fake.streams.size(), 1U);
    EXPECT_EQ(fake.last().text, "teh cat");
    EXPECT_FALSE(composer.session()->isEditing());
    composer.session()->cancel();
    EXPECT_TRUE(composer.session()->isEditing());
    EXPECT_TRUE(fake.last().cancelled);
}

TEST_F(ComposerModelTest, CopyPutsTheCorrectionOnTheClipboardAndRecordsOnce)
{
    composer.setText("teh cat");
    EXPECT_FALSE(composer.copyResult()) << "nothing to copy yet";
    composer.fixGrammar();
    fake.complete({"the cat"});
    EXPECT_TRUE(composer.copyResult());
    EXPECT_TRUE(composer.copyResult());
    EXPECT_EQ(QGuiApplication::clipboard()->text(), "the cat");
    ASSERT_EQ(fake.records.size(), 1U);
    EXPECT_EQ(fake.records.front().sourceApp, std::nullopt);
}

TEST_F(ComposerModelTest, EveryNewDraftLoadsAndOnlyStartingDraftsCorrect)
{
    const ComposerDraft reuse{QUuid::createUuid(), "Reused text", false};
    composer.load(reuse);
    EXPECT_EQ(composer.text(), "Reused text");
    EXPECT_TRUE(fake.streams.empty());
    composer.setText("edited since");
    composer.load(reuse);
    EXPECT_EQ(composer.text(), "edited since") << "a draft loads once";

    composer.load(ComposerDraft{QUuid::createUuid(), "teh original", true});
    composer.load(ComposerDraft{QUuid::createUuid(), "teh original", true});
    EXPECT_EQ(fake.streams.size(), 2U) << "the same text rerun twice runs twice";
    EXPECT_TRUE(fake.streams.front()->cancelled) << "the newer run replaces the older";
}

TEST_F(ComposerModelTest, CounterCountsUserPerceivedCharacters)
{
    composer.setText(QString::fromUtf8("e\xCC\x81"));
    EXPECT_EQ(composer.characterCountText(), "1 character");
}

} // namespace
} // namespace vesk::app
