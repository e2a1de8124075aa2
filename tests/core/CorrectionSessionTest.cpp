#include "core/CorrectionSession.h"

#include "support/FakeCorrectionEngine.h"
#include "support/ManualExecutor.h"

#include <gtest/gtest.h>
#include <vector>

namespace vesk {
namespace {

using Session = CorrectionSession;

using FakeStream = test::FakeCorrectionEngine::Stream;

class CorrectionSessionTest : public ::testing::Test
{
protected:
    std::unique_ptr<Session> makeSession(std::string original, Session::State state = Session::Reading{})
    {
        return std::make_unique<Session>(std::move(state), std::move(original), "", "Mousepad", fake.engine(),
                                         executor.executor());
    }

    // Plays a whole successful run on the last stream and delivers it.
    void complete(const std::vector<std::string>& pieces, TokenUsage usage = {10, 3})
    {
        fake.complete(pieces, usage);
        executor.drain();
    }

    test::FakeCorrectionEngine fake;
    test::ManualExecutor executor;
};

TEST_F(CorrectionSessionTest, StreamsThenShowsTheResultWithItsDiff)
{
    auto session = makeSession("teh cat");
    session->start();
    EXPECT_EQ(session->state(), Session::State(Session::Streaming{""}));
    EXPECT_EQ(fake.last().text, "teh cat");

    fake.last().callbacks.onEvent(CorrectionEvent::makeDelta("the"));
    EXPECT_EQ(session->state(), Session::State(Session::Streaming{""})) << "events apply only on the main thread";
    executor.drain();
    EXPECT_EQ(session->state(), Session::State(Session::Streaming{"the"}));

    complete({" cat"});
    const auto* result = std::get_if<Session::Result>(&session->state());
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->corrected, "the cat");
    EXPECT_EQ(result->diff.changeCount(), 1);
    EXPECT_EQ(session->usage(), (TokenUsage{10, 3}));
    EXPECT_FALSE(session->isRunning());
}

TEST_F(CorrectionSessionTest, FailureNamesTheRunsProvider)
{
    auto session = makeSession("hello");
    session->start();
    fake.last().callbacks.onFinish(ProviderError::http(401, "invalid x-api-key"));
    executor.drain();
    EXPECT_EQ(session->state(),
              Session::State(Session::Failed{
                  {"Anthropic rejected the key", "Check the key and paste it again.", "HTTP 401 invalid x-api-key"}}));
    EXPECT_EQ(session->accept(), std::nullopt);
}

TEST_F(CorrectionSessionTest, CancelledRunChangesNothingAfterwards)
{
    auto session = makeSession("hello");
    session->start();
    FakeStream& stream = fake.last();
    stream.callbacks.onEvent(CorrectionEvent::makeDelta("Hel")); // already queued when the user cancels
    session->cancel();
    EXPECT_TRUE(stream.cancelled);
    stream.callbacks.onEvent(CorrectionEvent::makeDone({5, 5}));
    stream.callbacks.onFinish(ProviderError::timeout());
    executor.drain();

    EXPECT_EQ(session->state(), Session::State(Session::Editing{}));
    EXPECT_FALSE(session->overlaying());
    EXPECT_FALSE(session->isRunning());
    EXPECT_EQ(session->usage(), std::nullopt);
}

TEST_F(CorrectionSessionTest, RerunOverlaysTheResultAndSupersededEventsAreDropped)
{
    auto session = makeSession("teh cat");
    session->start();
    complete({"the cat"});
    ASSERT_EQ(session->accept(), "the cat");

    session->start(); // "try again"
    FakeStream& first = *fake.streams[0];
    FakeStream& second = fake.last();
    EXPECT_TRUE(session->overlaying());
    EXPECT_TRUE(std::holds_alternative<Session::Result>(session->state()));

    second.callbacks.onEvent(CorrectionEvent::makeDelta("The"));
    executor.drain();
    EXPECT_TRUE(std::holds_alternative<Session::Result>(session->state())) << "the old result stays on screen";
    EXPECT_EQ(session->accept(), std::nullopt) << "nothing is accepted while a re-run overlays";

    second.callbacks.onEvent(CorrectionEvent::makeDelta(" cat."));
    second.callbacks.onFinish(std::nullopt);
    first.callbacks.onFinish(ProviderError::timeout()); // a late word from the superseded run
    executor.drain();

    EXPECT_FALSE(session->overlaying());
    const auto* result = std::get_if<Session::Result>(&session->state());
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result->corrected, "The cat.");
    EXPECT_EQ(session->accept(), "The cat.");
    ASSERT_EQ(fake.records.size(), 2U) << "a re-run records again";
    EXPECT_EQ(fake.records[1].usage, std::nullopt) << "the re-run never reported done";
}

TEST_F(CorrectionSessionTest, AcceptRecordsOnceAndReturnsTheSameText)
{
    auto session = makeSession("alot");
    session->start();
    complete({"a", " lot"}, {7, 2});
    EXPECT_EQ(session->accept(), "a lot");
    EXPECT_EQ(session->accept(), "a lot");
    ASSERT_EQ(fake.records.size(), 1U);
    const AcceptedCorrection& record = fake.records[0];
    EXPECT_EQ(record.original, "alot");
    EXPECT_EQ(record.corrected, "a lot");
    EXPECT_EQ(record.changeCount, 1);
    EXPECT_EQ(record.usage, (TokenUsage{7, 2}));
    EXPECT_EQ(record.sourceApp, "Mousepad");
    EXPECT_EQ(record.run.provider, ProviderID::anthropic);
}

TEST_F(CorrectionSessionTest, UnchangedReplyHandsBackTheOriginalByteForByte)
{
    auto session = makeSession("Fine as is.");
    session->start();
    complete({"Fine as is."});
    EXPECT_EQ(session->accept(), "Fine as is.");
    EXPECT_EQ(fake.records.back().changeCount, 0);
}

TEST_F(CorrectionSessionTest, RunKeepsTheSettingsItWasPreparedWith)
{
    auto session = makeSession("hello");
    session->start();
    fake.settings.strength = CorrectionStrength::fullRewrite;
    complete({"Hello."});
    ASSERT_TRUE(session->run().has_value());
    EXPECT_EQ(session->run()->options.strength, CorrectionStrength::grammarSpelling);
}

TEST_F(CorrectionSessionTest, StartFromFailedStreamsAfresh)
{
    auto session = makeSession("hello");
    session->start();
    fake.last().callbacks.onFinish(ProviderError::timeout());
    executor.drain();
    session->start();
    EXPECT_FALSE(session->overlaying());
    EXPECT_EQ(session->state(), Session::State(Session::Streaming{""}));
    EXPECT_EQ(fake.prepared, 2);
}

TEST_F(CorrectionSessionTest, ClosedSessionIsNotTouchedByItsRun)
{
    auto session = makeSession("hello");
    session->start();
    FakeStream& stream = fake.last();
    session.reset();
    EXPECT_TRUE(stream.cancelled);
    stream.callbacks.onEvent(CorrectionEvent::makeDelta("x"));
    stream.callbacks.onFinish(std::nullopt);
    EXPECT_EQ(executor.drain(), 2); // runs harmlessly
}

TEST_F(CorrectionSessionTest, FinishObserversHearResultsAndFailuresNotCancels)
{
    auto session = makeSession("hello");
    int first = 0;
    int second = 0;
    const Subscription firstObserved = session->observeFinish([&] { ++first; });
    Subscription secondObserved = session->observeFinish([&] { ++second; });
    session->start();
    complete({"Hello."});
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 1);

    secondObserved.reset();
    session->start();
    fake.last().callbacks.onFinish(ProviderError::timeout());
    executor.drain();
    EXPECT_EQ(first, 2);
    EXPECT_EQ(second, 1) << "a dropped observer is not told";

    session->start();
    FakeStream& cancelled = fake.last();
    session->cancel();
    cancelled.callbacks.onFinish(std::nullopt);
    executor.drain();
    EXPECT_EQ(first, 2);
}

// The coordinator ends a correction from inside a finish observer, which drops the panel model's observer.
TEST_F(CorrectionSessionTest, ObserverDroppedDuringANotificationIsSkipped)
{
    auto session = makeSession("hello");
    Subscription later;
    int laterCalls = 0;
    const Subscription dropper = session->observeChanges([&] { later.reset(); });
    later = session->observeChanges([&] { ++laterCalls; });
    session->start();
    EXPECT_EQ(laterCalls, 0);
}

} // namespace
} // namespace vesk
