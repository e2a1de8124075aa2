// The keyring store against a real Secret Service. KeychainKeyStoreTest needs the session that
// tests/support/with-keyring.sh provides; KeychainKeyStoreUnavailableTest needs a process that has not
// talked to any keyring yet, because GLib keeps its session bus connection for the life of the process.

#include "app/services/KeychainKeyStore.h"

#include <QEventLoop>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace vesk::app {
namespace {

using namespace std::chrono_literals;

// Once this process has reached a real keyring, the unavailability tests can no longer fake its absence.
bool g_reachedKeyring = false;

// What the Secret Service itself holds for a provider, read with secret-tool by the attributes the store
// writes (server = service name, user = provider).
struct SecretToolResult
{
    QString lookedUp;
    int itemCount = 0;
};

SecretToolResult askSecretTool(const char* providerRawValue)
{
    const QStringList attributes{QStringLiteral("server"), QString::fromStdString(KeychainKeyStore::serviceName()),
                                 QStringLiteral("user"), QString::fromLatin1(providerRawValue)};
    SecretToolResult result;
    QProcess lookup;
    lookup.start(QStringLiteral("secret-tool"), QStringList{QStringLiteral("lookup")} + attributes);
    EXPECT_TRUE(lookup.waitForFinished(10000)) << "secret-tool lookup did not finish";
    result.lookedUp = QString::fromUtf8(lookup.readAllStandardOutput());

    QProcess search;
    search.start(QStringLiteral("secret-tool"),
                 QStringList{QStringLiteral("search"), QStringLiteral("--all")} + attributes);
    EXPECT_TRUE(search.waitForFinished(10000)) << "secret-tool search did not finish";
    // Each item is listed under a heading line such as "[/org/freedesktop/secrets/collection/login/3]".
    for (const QByteArray& line : search.readAllStandardOutput().split('\n')) {
        result.itemCount += line.startsWith("[/") ? 1 : 0;
    }
    return result;
}

class KeychainKeyStoreTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        g_reachedKeyring = true;
        ASSERT_FALSE(qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
            << "run through tests/support/with-keyring.sh";
        // Removing succeeds whether or not there was an entry, which every test relies on here.
        ASSERT_TRUE(m_store.remove(ProviderID::openai));
        ASSERT_TRUE(m_store.remove(ProviderID::anthropic));
    }

    KeychainKeyStore m_store{10s};
};

TEST_F(KeychainKeyStoreTest, SavingAgainReplacesTheOneEntryStoredUnderServiceAndProvider)
{
    ASSERT_TRUE(m_store.save("sk-first", ProviderID::openai));
    ASSERT_TRUE(m_store.save("sk-test-0123456789", ProviderID::openai));

    EXPECT_EQ(m_store.key(ProviderID::openai), "sk-test-0123456789");
    EXPECT_TRUE(m_store.hasKey(ProviderID::openai));
    const SecretToolResult stored = askSecretTool("openai");
    EXPECT_EQ(stored.lookedUp.trimmed(), QStringLiteral("sk-test-0123456789"));
    EXPECT_EQ(stored.itemCount, 1);
}

TEST_F(KeychainKeyStoreTest, SaveTrimsBlanksAndLineBreaks)
{
    ASSERT_TRUE(m_store.save(" \t sk-pasted\n", ProviderID::openai));
    EXPECT_EQ(m_store.key(ProviderID::openai), "sk-pasted");

    ASSERT_TRUE(m_store.save("\u00a0sk-from-a-web-page\r\n", ProviderID::anthropic));
    EXPECT_EQ(m_store.key(ProviderID::anthropic), "sk-from-a-web-page");
}

TEST_F(KeychainKeyStoreTest, BlankKeyRemovesTheEntryAndSucceedsWhenThereIsNone)
{
    ASSERT_TRUE(m_store.save("sk-to-be-cleared", ProviderID::openai));

    EXPECT_TRUE(m_store.save("   ", ProviderID::openai));
    EXPECT_FALSE(m_store.hasKey(ProviderID::openai));
    EXPECT_EQ(m_store.key(ProviderID::openai), std::nullopt);
    EXPECT_EQ(askSecretTool("openai").itemCount, 0);

    EXPECT_TRUE(m_store.save(" \n ", ProviderID::openai));
}

TEST_F(KeychainKeyStoreTest, ProvidersKeepSeparateEntries)
{
    ASSERT_TRUE(m_store.save("sk-anthropic", ProviderID::anthropic));
    ASSERT_TRUE(m_store.save("sk-openai", ProviderID::openai));
    EXPECT_EQ(m_store.key(ProviderID::anthropic), "sk-anthropic");

    ASSERT_TRUE(m_store.remove(ProviderID::openai));
    EXPECT_FALSE(m_store.hasKey(ProviderID::openai));
    EXPECT_EQ(m_store.key(ProviderID::anthropic), "sk-anthropic");
}

// The engine reads keys on plain worker threads while the main thread runs the application's event loop.
TEST_F(KeychainKeyStoreTest, WorkerThreadsReadWhileMainThreadRunsItsEventLoop)
{
    ASSERT_TRUE(m_store.save("sk-openai", ProviderID::openai));
    ASSERT_TRUE(m_store.save("sk-anthropic", ProviderID::anthropic));

    QEventLoop loop;
    std::atomic<int> running{2};
    std::optional<std::string> openAIKey;
    std::optional<std::string> anthropicKey;
    const auto readOnWorker = [&](ProviderID provider, std::optional<std::string>& into) {
        return std::thread([&, provider] {
            into = m_store.key(provider);
            if (--running == 0) {
                QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
            }
        });
    };
    std::thread openAIWorker = readOnWorker(ProviderID::openai, openAIKey);
    std::thread anthropicWorker = readOnWorker(ProviderID::anthropic, anthropicKey);
    QTimer::singleShot(30s, &loop, &QEventLoop::quit);
    loop.exec();
    openAIWorker.join();
    anthropicWorker.join();

    EXPECT_EQ(running, 0) << "the workers did not finish";
    EXPECT_EQ(openAIKey, "sk-openai");
    EXPECT_EQ(anthropicKey, "sk-anthropic");
}

// A command-line run uses the store from the main thread, then waits for a worker without any event loop.
TEST_F(KeychainKeyStoreTest, WorkerThreadReadsWhileMainThreadIsBlocked)
{
    ASSERT_TRUE(m_store.save("sk-openai", ProviderID::openai));

    for (int round = 0; round < 2; ++round) {
        std::optional<std::string> readOnWorker;
        std::thread worker([&] { readOnWorker = m_store.key(ProviderID::openai); });
        worker.join();
        EXPECT_EQ(readOnWorker, "sk-openai") << "round " << round;
    }
    EXPECT_EQ(m_store.key(ProviderID::openai), "sk-openai");
}

// Temporarily replaces environment variables; an empty optional unsets.
class EnvironmentOverride
{
public:
    EnvironmentOverride(std::initializer_list<std::pair<const char*, std::optional<QByteArray>>> values)
    {
        for (const auto& [name, value] : values) {
            m_saved.emplace_back(name, qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt);
            value ? qputenv(name, *value) : qunsetenv(name);
        }
    }
    ~EnvironmentOverride()
    {
        for (const auto& [name, value] : m_saved) {
            value ? qputenv(name, *value) : qunsetenv(name);
        }
    }
    EnvironmentOverride(const EnvironmentOverride&) = delete;
    EnvironmentOverride& operator=(const EnvironmentOverride&) = delete;

private:
    std::vector<std::pair<const char*, std::optional<QByteArray>>> m_saved;
};

class KeychainKeyStoreUnavailableTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (g_reachedKeyring) {
            GTEST_SKIP() << "this process already holds a session bus connection; run this suite on its own";
        }
        ASSERT_TRUE(m_dir.isValid());
    }

    // Every operation fails the way callers expect, and each returns within `limit`.
    static void expectEveryOperationFails(KeychainKeyStore& store, std::chrono::milliseconds limit)
    {
        const auto timed = [limit](const char* operation, auto call) {
            const auto start = std::chrono::steady_clock::now();
            call();
            const auto elapsed = std::chrono::steady_clock::now() - start;
            EXPECT_LT(elapsed, limit) << operation << " took "
                                      << std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count()
                                      << " ms";
        };
        timed("key", [&] { EXPECT_EQ(store.key(ProviderID::openai), std::nullopt); });
        timed("hasKey", [&] { EXPECT_FALSE(store.hasKey(ProviderID::openai)); });
        timed("save", [&] { EXPECT_FALSE(store.save("sk-nowhere", ProviderID::openai)); });
        timed("remove", [&] { EXPECT_FALSE(store.remove(ProviderID::openai)); });
    }

    QTemporaryDir m_dir;
};

TEST_F(KeychainKeyStoreUnavailableTest, WithoutASessionBusNothingIsAttempted)
{
    const EnvironmentOverride environment{{"DBUS_SESSION_BUS_ADDRESS", std::nullopt},
                                          {"XDG_RUNTIME_DIR", m_dir.path().toUtf8()}};
    KeychainKeyStore store(30s);
    // Far below the timeout: no job ran, so no daemon or prompt could have been started.
    expectEveryOperationFails(store, 1s);
}

TEST_F(KeychainKeyStoreUnavailableTest, BusAddressWithNobodyListeningFailsFast)
{
    const EnvironmentOverride environment{
        {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + m_dir.filePath(QStringLiteral("no-bus")).toUtf8()}};
    KeychainKeyStore store(2s);
    expectEveryOperationFails(store, 2s + 1s);
}

// A bus that accepts connections but never answers: each call gives up at its timeout. Run last, since the
// hanging job holds QtKeychain's queue for the rest of the process.
TEST_F(KeychainKeyStoreUnavailableTest, SilentBusTimesOut)
{
    const QByteArray path = m_dir.filePath(QStringLiteral("silent-bus")).toUtf8();
    const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_GE(listener, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(static_cast<std::size_t>(path.size()), sizeof(address.sun_path));
    std::copy(path.begin(), path.end(), address.sun_path);
    ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_EQ(::listen(listener, 16), 0);

    {
        const EnvironmentOverride environment{{"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path}};
        KeychainKeyStore store(300ms);
        expectEveryOperationFails(store, 300ms + 1s);
    }
    ::close(listener);
}

} // namespace
} // namespace vesk::app
