#include "app/models/ProviderConnection.h"

#include "app/services/AppSettings.h"
#include "core/CurlTransport.h"
#include "support/InMemoryKeyStore.h"
#include "support/ScriptedProviderServer.h"
#include "support/SettingsFile.h"

#include <QTest>
#include <future>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

using namespace std::chrono_literals;
using test::ScriptedResponse;
namespace streams = test::streams;
using QTest::qWaitFor;

// Answers `hasKey` for one provider only once the test lets it.
class GatedKeyStore final : public InMemoryKeyStore
{
public:
    GatedKeyStore(std::map<ProviderID, std::string> keys, ProviderID gated)
        : InMemoryKeyStore(std::move(keys)), m_gated(gated)
    {
    }
    void open() { m_gate.set_value(); }

    bool hasKey(ProviderID provider) override
    {
        if (provider == m_gated) {
            m_opened.wait();
        }
        return InMemoryKeyStore::hasKey(provider);
    }

private:
    ProviderID m_gated;
    std::promise<void> m_gate;
    std::shared_future<void> m_opened = m_gate.get_future().share();
};

// The real probe over real HTTP to the scripted server, which the settings name as the base address.
class ProviderConnectionTest : public ::testing::Test
{
protected:
    ProviderConnectionTest()
    {
        for (const ProviderID provider : allCases<ProviderID>()) {
            m_settings.setEndpoint(provider, m_server.url(""));
        }
    }

    std::unique_ptr<ProviderConnection> connect(ProviderID provider, std::chrono::milliseconds limit = 12s)
    {
        m_settings.setSelectedProvider(provider);
        auto connection = std::make_unique<ProviderConnection>(
            m_settings, m_keys, ProviderConnection::correctionProbe(std::make_shared<CurlTransport>()), limit);
        EXPECT_TRUE(qWaitFor([&] { return !connection->isLoading(); }));
        return connection;
    }

    static bool settled(const ProviderConnection& connection)
    {
        return connection.status() != ProviderConnection::Status::checking;
    }

    test::ScriptedProviderServer m_server;
    test::SettingsFile m_file;
    AppSettings m_settings{m_file.open()};
    std::shared_ptr<InMemoryKeyStore> m_keys = std::make_shared<InMemoryKeyStore>();
};

// A blank draft fails at once without a request; a rejected key is not saved but stays in the field for the
// user to correct; an accepted one is saved without the line break a paste brought along.
TEST_F(ProviderConnectionTest, OnlyAKeyTheProviderAcceptsIsSaved)
{
    const auto connection = connect(ProviderID::openai);
    m_settings.setModel(ProviderID::openai, "gpt-4.1-mini");
    connection->setDraft(" \n\t");
    connection->verifyAndSave();
    EXPECT_EQ(connection->failureTitle(), "No OpenAI key yet");
    QTest::qWait(50);
    EXPECT_TRUE(m_server.requests().empty());

    m_server.enqueue(ScriptedResponse::text(401, "application/json", streams::openAIErrorBody("Incorrect API key")));
    connection->setDraft("sk-bad");
    connection->verifyAndSave();
    EXPECT_EQ(connection->status(), ProviderConnection::Status::checking);
    ASSERT_TRUE(qWaitFor([&] { return settled(*connection); }));
    EXPECT_EQ(connection->failureTitle(), "OpenAI rejected the key");
    EXPECT_FALSE(m_keys->hasKey(ProviderID::openai));
    EXPECT_EQ(connection->draft(), "sk-bad");

    m_server.enqueue(ScriptedResponse::events(streams::openAI({"Hello", " world"})));
    connection->setDraft("sk-good\n");
    connection->verifyAndSave();
    ASSERT_TRUE(qWaitFor([&] { return settled(*connection); }));
    EXPECT_EQ(connection->status(), ProviderConnection::Status::connected) << connection->failureTitle().toStdString();
    ASSERT_EQ(m_server.requests().size(), 2U);
    const test::RecordedRequest probe = m_server.requests()[1];
    EXPECT_EQ(probe.header("Authorization"), "Bearer sk-good");
    EXPECT_NE(probe.body.find("helo wrld"), std::string::npos);
    EXPECT_NE(probe.body.find("\"gpt-4.1-mini\""), std::string::npos) << "the user's model for the provider";
    EXPECT_EQ(m_keys->key(ProviderID::openai), "sk-good");
    EXPECT_TRUE(connection->hasSavedKey());
}

TEST_F(ProviderConnectionTest, ProbeWithoutAnswerFailsAtTheLimit)
{
    const auto connection = connect(ProviderID::anthropic, 300ms);
    m_server.enqueue(ScriptedResponse::stallBeforeHead());
    connection->setDraft("sk-ant-slow");
    connection->verifyAndSave();
    ASSERT_TRUE(qWaitFor([&] { return settled(*connection); }));
    EXPECT_EQ(connection->failureTitle(), "Anthropic didn't respond");
    EXPECT_FALSE(m_keys->hasKey(ProviderID::anthropic));
}

TEST_F(ProviderConnectionTest, DestroyingTheConnectionStopsTheCheckAndJoinsItsThread)
{
    m_settings.setSelectedProvider(ProviderID::anthropic);
    m_server.enqueue(ScriptedResponse::stallBeforeHead());
    auto checks = std::make_shared<int>(0); // held by the check while it runs
    auto connection = std::make_unique<ProviderConnection>(
        m_settings, m_keys,
        [checks, probe = ProviderConnection::correctionProbe(std::make_shared<CurlTransport>())](
            const ProviderConnection::Probe& key, std::stop_token stop) { return probe(key, std::move(stop)); });
    ASSERT_TRUE(qWaitFor([&] { return !connection->isLoading(); }));
    connection->setDraft("sk-ant-slow");
    connection->verifyAndSave();
    ASSERT_TRUE(qWaitFor([&] { return !m_server.requests().empty(); }));

    connection.reset();
    EXPECT_EQ(checks.use_count(), 1) << "the check's thread has ended";
}

TEST_F(ProviderConnectionTest, RemovingAKeyTheStoreNoLongerHoldsSucceeds)
{
    m_keys->save("sk-old", ProviderID::openai);
    const auto connection = connect(ProviderID::openai);
    ASSERT_TRUE(connection->hasSavedKey());
    m_keys->remove(ProviderID::openai); // gone behind the connection's back
    connection->removeKey();
    ASSERT_TRUE(qWaitFor([&] { return !connection->hasSavedKey(); }));
    EXPECT_EQ(connection->status(), ProviderConnection::Status::idle);
    EXPECT_TRUE(connection->isEditing()) << "the entry field shows at once for a new key";
}

TEST_F(ProviderConnectionTest, SelectingAProviderStoresItAndDiscardsTheOlderLoad)
{
    auto keys = std::make_shared<GatedKeyStore>(std::map<ProviderID, std::string>{{ProviderID::openai, "sk-open"}},
                                                ProviderID::openai);
    ProviderConnection connection(m_settings, keys, ProviderConnection::correctionProbe(nullptr));
    ASSERT_TRUE(connection.isLoading()) << "the OpenAI load waits at the gate";

    connection.selectProvider("anthropic");
    EXPECT_EQ(m_settings.selectedProvider(), ProviderID::anthropic);
    ASSERT_TRUE(qWaitFor([&] { return !connection.isLoading(); }));
    keys->open();
    QTest::qWait(100);
    EXPECT_EQ(connection.provider(), ProviderID::anthropic);
    EXPECT_FALSE(connection.hasSavedKey()) << "OpenAI's late answer must not show as Anthropic's";
}

} // namespace
} // namespace vesk::app
