// The keyring store against a real Secret Service. KeychainKeyStoreTest needs the session that
// tests/support/with-keyring.sh provides; KeychainKeyStoreUnavailableTest needs a process that has not
// talked to any keyring yet, because GLib keeps its session bus connection for the life of the process.

#include "app/services/KeychainKeyStore.h"

#include <QProcess>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>
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

// Asks the Secret Service itself with secret-tool, by the attributes the store writes (server = service
// name, user = provider).
QString secretTool(QStringList args, const char* provider)
{
    args << QStringLiteral("server") << QString::fromStdString(KeychainKeyStore::serviceName())
         << QStringLiteral("user") << QString::fromLatin1(provider);
    QProcess process;
    process.start(QStringLiteral("secret-tool"), args);
    EXPECT_TRUE(process.waitForFinished(10000)) << "secret-tool did not finish";
    return QString::fromUtf8(process.readAllStandardOutput());
}

QString storedKey(const char* provider)
{
    return secretTool({QStringLiteral("lookup")}, provider).trimmed();
}

// Each item is listed under a heading line such as "[/org/freedesktop/secrets/collection/login/3]".
qsizetype storedItems(const char* provider)
{
    return ("\n" + secretTool({QStringLiteral("search"), QStringLiteral("--all")}, provider)).count("\n[/");
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

// One trimmed entry per provider under the service name; a blank key removes it, and removing nothing succeeds.
TEST_F(KeychainKeyStoreTest, SavingTrimsAndReplacesOneEntryPerProviderAndBlankRemovesIt)
{
    ASSERT_TRUE(m_store.save(" \t sk-first\n", ProviderID::openai));
    ASSERT_TRUE(m_store.save("\u00a0sk-test-0123456789\r\n", ProviderID::openai));
    ASSERT_TRUE(m_store.save("sk-anthropic", ProviderID::anthropic));
    EXPECT_EQ(m_store.key(ProviderID::openai), "sk-test-0123456789");
    EXPECT_EQ(storedKey("openai"), QStringLiteral("sk-test-0123456789"));
    EXPECT_EQ(storedItems("openai"), 1);

    EXPECT_TRUE(m_store.save("   ", ProviderID::openai));
    EXPECT_FALSE(m_store.hasKey(ProviderID::openai));
    EXPECT_EQ(storedItems("openai"), 0);
    EXPECT_TRUE(m_store.save(" \n ", ProviderID::openai));
    EXPECT_EQ(m_store.key(ProviderID::anthropic), "sk-anthropic");
}

// A command-line run uses the store from the main thread, then waits for a worker without any event loop;
// the engine reads keys on plain worker threads while the main thread runs the application's event loop.
TEST_F(KeychainKeyStoreTest, WorkerThreadsReadWhetherTheMainThreadIsBlockedOrRunsItsEventLoop)
{
    ASSERT_TRUE(m_store.save("sk-openai", ProviderID::openai));
    ASSERT_TRUE(m_store.save("sk-anthropic", ProviderID::anthropic));

    // Blocked first, so that nothing can lean on an event loop that has already run; twice, so that the
    // first read leaves nothing behind that the second waits for.
    for (int round = 0; round < 2; ++round) {
        std::optional<std::string> readWhileBlocked;
        std::jthread([&] { readWhileBlocked = m_store.key(ProviderID::openai); }).join();
        EXPECT_EQ(readWhileBlocked, "sk-openai") << "round " << round;
    }

    std::atomic<int> running{2};
    std::optional<std::string> read[2];
    std::jthread workers[] = {std::jthread([&] { read[0] = m_store.key(ProviderID::openai), --running; }),
                              std::jthread([&] { read[1] = m_store.key(ProviderID::anthropic), --running; })};
    EXPECT_TRUE(QTest::qWaitFor([&] { return running == 0; }, 30000)) << "the workers did not finish";
    EXPECT_EQ(read[0], "sk-openai");
    EXPECT_EQ(read[1], "sk-anthropic");
    EXPECT_EQ(m_store.key(ProviderID::openai), "sk-openai");
}

// Sets an environment variable, or unsets it given nothing, until the end of the scope.
[[nodiscard]] auto environmentVariable(const char* name, const std::optional<QByteArray>& value)
{
    const auto set = [name](const std::optional<QByteArray>& to) { to ? qputenv(name, *to) : qunsetenv(name); };
    const std::optional<QByteArray> saved =
        qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt;
    set(value);
    return qScopeGuard([set, saved] { set(saved); });
}

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
    const auto bus = environmentVariable("DBUS_SESSION_BUS_ADDRESS", std::nullopt);
    const auto runtime = environmentVariable("XDG_RUNTIME_DIR", m_dir.path().toUtf8());
    KeychainKeyStore store(30s);
    // Far below the timeout: no job ran, so no daemon or prompt could have been started.
    expectEveryOperationFails(store, 1s);
}

TEST_F(KeychainKeyStoreUnavailableTest, BusAddressWithNobodyListeningFailsFast)
{
    const auto bus = environmentVariable("DBUS_SESSION_BUS_ADDRESS",
                                         "unix:path=" + m_dir.filePath(QStringLiteral("no-bus")).toUtf8());
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
    const auto closeListener = qScopeGuard([listener] { ::close(listener); });
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(static_cast<std::size_t>(path.size()), sizeof(address.sun_path));
    std::copy(path.begin(), path.end(), address.sun_path);
    ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
    ASSERT_EQ(::listen(listener, 16), 0);

    const auto bus = environmentVariable("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path);
    KeychainKeyStore store(300ms);
    expectEveryOperationFails(store, 300ms + 1s);
}

} // namespace
} // namespace vesk::app
