#include "core/CorrectionSession.h"

#include "support/FakeCorrectionEngine.h"
#include "support/ManualExecutor.h"

#include <gtest/gtest.h>

namespace vesk {
namespace {

using Session = CorrectionSession;
using FakeStream = test::FakeCorrectionEngine::Stream;

class CorrectionSessionTest : public ::testing::Test
{
protected:
    std::unique_ptr<Session> started(std::string original)
    {
        auto session = fake.session(std::move(original));
        session->start();
        return session;
    }
    void fail(FakeStream& stream, ProviderError error = ProviderError::timeout())
    {
        stream.callbacks.onFinish(std::move(error));
        executor.drain();
    }
    static std::string corrected(const Session& session)
    {
        const auto* result = std::get_if<Session::Result>(&session.state());
        return result != nullptr ? result->corrected : "(no result)";
    }

    test::FakeCorrectionEngine fake;
    test::ManualExecutor& executor = fake.mainThread;
};

TEST_F(CorrectionSessionTest, StreamsOnTheMainThreadThenRecordsTheAcceptedResultOnce)
{
    auto session = started("teh cat");
    EXPECT_EQ(fake.last().text, "teh cat");
    fake.settings.strength = CorrectionStrength::fullRewrite; // the run keeps what it was prepared with
    fake.last().callbacks.onEvent(CorrectionEvent::makeDelta("the"));
    EXPECT_EQ(session->state(), Session::State(Session::Streaming{""})) << "events apply only on the main thread";
    executor.drain();
    EXPECT_EQ(session->state(), Session::State(Session::Streaming{"the"}));

    fake.complete({" cat"}, {7, 2});
    EXPECT_EQ(corrected(*session), "the cat");
    EXPECT_FALSE(session->isRunning());
    EXPECT_EQ(session->accept(), "the cat");
    EXPECT_EQ(session->accept(), "the cat");
    ASSERT_EQ(fake.records.size(), 1U);
    const AcceptedCorrection& record = fake.records[0];
    EXPECT_EQ(std::tuple(record.original, record.corrected, record.changeCount, record.sourceApp, record.usage,
                         record.run.provider, record.run.options.strength),
              std::tuple("teh cat", "the cat", 1, "Mousepad", TokenUsage{7, 2}, ProviderID::anthropic,
                         CorrectionStrength::grammarSpelling));
}

// An HTTP error names no provider of its own: the run's provider names it.
TEST_F(CorrectionSessionTest, FailureNamesTheRunsProvider)
{
    auto session = started("hello");
    fail(fake.last(), ProviderError::http(401, "invalid x-api-key"));
    ASSERT_TRUE(std::holds_alternative<Session::Failed>(session->state()));
    EXPECT_EQ(std::get<Session::Failed>(session->state()).failure.title, "Anthropic rejected the key");
    EXPECT_EQ(session->accept(), std::nullopt);
}

TEST_F(CorrectionSessionTest, CancelledOrClosedSessionIsNotTouchedByItsRun)
{
    auto session = started("hello");
    FakeStream& stream = fake.last();
    stream.callbacks.onEvent(CorrectionEvent::makeDelta("Hel")); // already queued when the user cancels
    session->cancel();
    EXPECT_TRUE(stream.cancelled);
    stream.callbacks.onEvent(CorrectionEvent::makeDone({5, 5}));
    fail(stream);
    EXPECT_EQ(session->state(), Session::State(Session::Editing{}));
    EXPECT_FALSE(session->overlaying() || session->isRunning());
    EXPECT_EQ(session->usage(), std::nullopt);

    session->start();
    FakeStream& next = fake.last();
    session.reset();
    EXPECT_TRUE(next.cancelled);
    next.callbacks.onEvent(CorrectionEvent::makeDelta("x"));
    next.callbacks.onFinish(std::nullopt);
    EXPECT_EQ(executor.drain(), 2); // runs harmlessly
}

TEST_F(CorrectionSessionTest, RerunOverlaysTheResultAndSupersededEventsAreDropped)
{
    auto session = started("teh cat");
    fake.complete({"the cat"});
    ASSERT_EQ(session->accept(), "the cat");

    session->start(); // "try again"
    FakeStream& first = *fake.streams[0];
    FakeStream& second = fake.last();
    EXPECT_TRUE(session->overlaying());
    second.callbacks.onEvent(CorrectionEvent::makeDelta("The"));
    executor.drain();
    EXPECT_EQ(corrected(*session), "the cat") << "the old result stays on screen";
    EXPECT_EQ(session->accept(), std::nullopt) << "nothing is accepted while a re-run overlays";

    second.callbacks.onEvent(CorrectionEvent::makeDelta(" cat."));
    second.callbacks.onFinish(std::nullopt);
    fail(first); // a late word from the superseded run
    EXPECT_FALSE(session->overlaying());
    EXPECT_EQ(session->accept(), "The cat.");
    ASSERT_EQ(fake.records.size(), 2U) << "a re-run records again";
    EXPECT_EQ(fake.records[1].usage, std::nullopt) << "the re-run never reported done";
}

TEST_F(CorrectionSessionTest, FinishObserversHearResultsAndFailuresNotCancels)
{
    auto session = started("hello");
    int first = 0;
    int second = 0;
    const Subscription firstObserved = session->observeFinish([&] { ++first; });
    Subscription secondObserved = session->observeFinish([&] { ++second; });
    fake.complete({"Hello."});
    EXPECT_EQ(std::pair(first, second), std::pair(1, 1));

    secondObserved.reset();
    session->start();
    fail(fake.last());
    EXPECT_EQ(std::pair(first, second), std::pair(2, 1)) << "a dropped observer is not told";

    session->start();
    session->cancel();
    fail(fake.last());
    EXPECT_EQ(first, 2);

    // The coordinator ends a correction from inside an observer, which drops the panel model's observer.
    Subscription later;
    const Subscription dropper = session->observeChanges([&] { later.reset(); });
    later = session->observeChanges([&] { ADD_FAILURE() << "a dropped observer is skipped"; });
    session->start();
}

} // namespace
} // namespace vesk
