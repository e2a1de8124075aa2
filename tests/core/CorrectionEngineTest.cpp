// The engine's streams run on threads it owns: a cancelled stream and a dropped engine fall silent at once.
// Streaming itself and a missing key are covered end to end by the command-line tests.

#include "core/CorrectionEngine.h"

#include "core/CurlTransport.h"
#include "core/WorkerThreads.h"
#include "support/InMemoryKeyStore.h"
#include "support/Process.h"
#include "support/ScriptedProviderServer.h"

#include <gtest/gtest.h>

namespace vesk {
namespace {

using namespace std::chrono_literals;
using test::ScriptedResponse;
namespace streams = test::streams;

// Counts what a stream delivers on its worker thread.
struct Recorder
{
    std::atomic<int> events = 0;
    std::atomic<bool> finished = false;

    CorrectionStreamCallbacks callbacks()
    {
        return {[this](const CorrectionEvent&) { ++events; },
                [this](const std::optional<ProviderError>&) { finished = true; }};
    }
};

class CorrectionEngineTest : public ::testing::Test
{
protected:
    static CorrectionEngine engine(std::shared_ptr<InMemoryKeyStore> keys)
    {
        return CorrectionEngine::providers(std::move(keys), std::make_shared<CurlTransport>(), {}, {});
    }
    CorrectionRun run() const { return {ProviderID::openai, "gpt-4o-mini", CorrectionSettings{}, m_server.url("")}; }

    std::unique_ptr<CorrectionStream> stall(const CorrectionEngine& engine)
    {
        ScriptedResponse stalled = ScriptedResponse::events(streams::openAI({"Hel"}));
        stalled.body.resize(2); // the role chunk and the first piece
        stalled.ending = ScriptedResponse::Ending::stall;
        m_server.enqueue(stalled);
        auto stream = engine.stream(run(), "helo", m_recorder.callbacks());
        EXPECT_TRUE(test::waitUntil([&] { return m_recorder.events == 1; }, 10s, 1ms));
        return stream;
    }

    test::ScriptedProviderServer m_server;
    std::shared_ptr<InMemoryKeyStore> m_keys =
        std::make_shared<InMemoryKeyStore>(std::map<ProviderID, std::string>{{ProviderID::openai, "sk-o"}});
    Recorder m_recorder;
};

TEST_F(CorrectionEngineTest, CancelStopsTheRequestAndEveryCallback)
{
    const CorrectionEngine providers = engine(m_keys);
    auto stream = stall(providers);
    const auto started = std::chrono::steady_clock::now();
    stream->cancel();
    // The server notices the hang-up: one more request is answered on a fresh connection at once.
    m_server.enqueue(ScriptedResponse::events(streams::openAI({"Hi."})));
    Recorder second;
    auto next = providers.stream(run(), "hi", second.callbacks());
    ASSERT_TRUE(test::waitUntil([&] { return second.finished.load(); }, 10s, 1ms));
    EXPECT_LT(std::chrono::steady_clock::now() - started, 5s);
    std::this_thread::sleep_for(100ms);
    EXPECT_FALSE(m_recorder.finished) << "a cancelled stream reports nothing, not even its end";
    EXPECT_EQ(m_recorder.events, 1);
}

TEST_F(CorrectionEngineTest, LastCopyStopsItsStreamsAndJoinsTheirThreads)
{
    auto providers = std::make_optional(engine(m_keys));
    auto copy = std::make_optional(*providers);
    auto stream = stall(*providers); // never cancelled
    providers.reset();
    EXPECT_GT(m_keys.use_count(), 2) << "a copy keeps the stream going";
    copy.reset();
    EXPECT_EQ(m_keys.use_count(), 1) << "the stream's thread is over once the last copy is gone";
    EXPECT_FALSE(m_recorder.finished) << "a stopped stream reports nothing";
}

TEST(WorkerThreads, FinishedThreadsAreJoinedAndRunningOnesStoppedOnDestruction)
{
    auto workers = std::make_unique<WorkerThreads>();
    workers->start([](std::stop_token) {});
    std::atomic<bool> stopped = false;
    const std::stop_source waiting = workers->start([&stopped](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            std::this_thread::sleep_for(1ms);
        }
        stopped = true;
    });
    EXPECT_TRUE(test::waitUntil([&] { return workers->running() == 1; }, 10s, 1ms))
        << "the finished task's thread is joined";
    workers.reset();
    EXPECT_TRUE(stopped) << "destruction stops the task and waits for it";
    EXPECT_TRUE(waiting.stop_requested());
}

} // namespace
} // namespace vesk
