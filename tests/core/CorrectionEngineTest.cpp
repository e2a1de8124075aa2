// The engine that talks to the providers, over real HTTP to the scripted server on loopback.

#include "core/CorrectionEngine.h"

#include "core/CurlTransport.h"
#include "core/PromptBuilder.h"
#include "support/InMemoryKeyStore.h"
#include "support/ScriptedProviderServer.h"

#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>

namespace vesk {
namespace {

using namespace std::chrono_literals;
using test::ScriptedResponse;
namespace streams = test::streams;

// Collects what a stream delivers on its worker thread.
class Recorder
{
public:
    struct Seen
    {
        std::vector<CorrectionEvent> events;
        std::optional<ProviderError> error;
        bool finished = false;
    };

    CorrectionStreamCallbacks callbacks()
    {
        return {[this](CorrectionEvent event) { update([&](Seen& seen) { seen.events.push_back(std::move(event)); }); },
                [this](std::optional<ProviderError> error) {
                    update([&](Seen& seen) {
                        seen.finished = true;
                        seen.error = std::move(error);
                    });
                }};
    }

    // Waits until the stream has finished, or has delivered `count` events.
    bool waitFor(std::optional<std::size_t> count = std::nullopt)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, 10s, [&] { return count ? m_seen.events.size() >= *count : m_seen.finished; });
    }
    Seen seen()
    {
        const std::scoped_lock lock(m_mutex);
        return m_seen;
    }

private:
    template <typename Change> void update(Change change)
    {
        const std::scoped_lock lock(m_mutex);
        change(m_seen);
        m_changed.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    Seen m_seen;
};

class CorrectionEngineTest : public ::testing::Test
{
protected:
    CorrectionEngine engine() { return CorrectionEngine::providers(m_keys, std::make_shared<CurlTransport>(), {}, {}); }
    // The role chunk and the first piece, then silence.
    void enqueueStall()
    {
        ScriptedResponse stalled = ScriptedResponse::events(streams::openAI({"Hel"}));
        stalled.body.resize(2);
        stalled.ending = ScriptedResponse::Ending::stall;
        m_server.enqueue(stalled);
    }
    CorrectionRun run(ProviderID provider = ProviderID::openai) const
    {
        return {provider, std::string(defaultModel(provider)), CorrectionSettings{}, m_server.url("")};
    }

    test::ScriptedProviderServer m_server;
    std::shared_ptr<InMemoryKeyStore> m_keys = std::make_shared<InMemoryKeyStore>(
        std::map<ProviderID, std::string>{{ProviderID::openai, "sk-o"}, {ProviderID::anthropic, "sk-a"}});
    Recorder m_recorder;
    CorrectionEngine m_engine = engine(); // last: its threads are joined before what they call goes
};

TEST_F(CorrectionEngineTest, StreamsDeltasThenDoneWithUsage)
{
    m_server.enqueue(ScriptedResponse::events(streams::anthropic({"Hello", ", world."})));
    auto stream = m_engine.stream(run(ProviderID::anthropic), "helo world", m_recorder.callbacks());
    ASSERT_TRUE(m_recorder.waitFor());
    EXPECT_EQ(m_recorder.seen().error, std::nullopt);
    EXPECT_EQ(m_recorder.seen().events,
              (std::vector{CorrectionEvent::makeDelta("Hello"), CorrectionEvent::makeDelta(", world."),
                           CorrectionEvent::makeDone({78, 9})}));
    const auto request = m_server.requests().at(0);
    EXPECT_EQ(request.header("x-api-key"), "sk-a");
    EXPECT_EQ(Json::parse(request.body)["system"], PromptBuilder::systemPrompt(CorrectionSettings{}));
}

TEST_F(CorrectionEngineTest, MissingKeyEndsAtOnceWithoutARequest)
{
    m_keys->remove(ProviderID::openai);
    auto stream = m_engine.stream(run(), "helo", m_recorder.callbacks());
    ASSERT_TRUE(m_recorder.waitFor());
    EXPECT_EQ(m_recorder.seen().error, ProviderError::missingAPIKey(ProviderID::openai));
    EXPECT_TRUE(m_recorder.seen().events.empty());
    EXPECT_TRUE(m_server.requests().empty());
}

TEST_F(CorrectionEngineTest, CancelStopsTheRequestAndEveryCallback)
{
    enqueueStall();
    auto stream = m_engine.stream(run(), "helo", m_recorder.callbacks());
    ASSERT_TRUE(m_recorder.waitFor(1));
    const auto started = std::chrono::steady_clock::now();
    stream->cancel();
    // The server notices the hang-up: one more request is answered on a fresh connection at once.
    m_server.enqueue(ScriptedResponse::events(streams::openAI({"Hi."})));
    Recorder second;
    auto next = m_engine.stream(run(), "hi", second.callbacks());
    ASSERT_TRUE(second.waitFor());
    EXPECT_LT(std::chrono::steady_clock::now() - started, 5s);
    std::this_thread::sleep_for(100ms);
    EXPECT_FALSE(m_recorder.seen().finished) << "a cancelled stream reports nothing, not even its end";
    EXPECT_EQ(m_recorder.seen().events.size(), 1U);
}

TEST_F(CorrectionEngineTest, LastCopyStopsItsStreamsAndJoinsTheirThreads)
{
    enqueueStall();
    auto keys = std::make_shared<InMemoryKeyStore>(std::map<ProviderID, std::string>{{ProviderID::openai, "sk-o"}});
    auto engine = std::make_optional(CorrectionEngine::providers(keys, std::make_shared<CurlTransport>(), {}, {}));
    auto copy = std::make_optional(*engine);
    auto stream = engine->stream(run(), "helo", m_recorder.callbacks()); // never cancelled
    ASSERT_TRUE(m_recorder.waitFor(1));
    engine.reset();
    EXPECT_GT(keys.use_count(), 2) << "a copy keeps the stream going";

    copy.reset();
    EXPECT_EQ(keys.use_count(), 1) << "the stream's thread is over once the last copy is gone";
    EXPECT_FALSE(m_recorder.seen().finished) << "a stopped stream reports nothing";
}

} // namespace
} // namespace vesk
