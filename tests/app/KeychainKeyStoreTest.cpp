// The keyring store against a real Secret Service. KeychainKeyStoreTest needs the session that
// tests/support/with-keyring.sh provides; KeychainKeyStoreUnavailableTest needs a process that has not
// talked to any keyring yet, because GLib keeps its session bus connection for the life of the process.

#include "app/services/KeychainKeyStore.h"

#include "support/ParamName.h"

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

// What the Secret Service itself holds, found by secret-tool with the attributes the store writes (server =
// service name, user = provider). Each item is listed under a line such as "[/org/freedesktop/secrets/...]".
QString storedSecrets(const char* provider)
{
    QProcess process;
    process.start(QStringLiteral("secret-tool"),
                  {QStringLiteral("search"), QStringLiteral("--all"), QStringLiteral("server"),
                   QString::fromStdString(KeychainKeyStore::serviceName()), QStringLiteral("user"),
                   QString::fromLatin1(provider)});
    EXPECT_TRUE(process.waitForFinished(10000)) << "secret-tool did not finish";
    return "\n" + QString::fromUtf8(process.readAllStandardOutput());
}

class KeychainKeyStoreTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        g_reachedKeyring = true;
        ASSERT_FALSE(qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS"))
            << "run through tests/support/with-keyring.sh";
        // Each test starts with one key per provider, saved over whatever an earlier run left.
        ASSERT_TRUE(m_store.save(" \t sk-openai\n", ProviderID::openai));
        ASSERT_TRUE(m_store.save("sk-anthropic", ProviderID::anthropic));
    }

    KeychainKeyStore m_store{10s};
};

// One trimmed entry per provider under the service name; a blank key removes it, and removing nothing succeeds.
TEST_F(KeychainKeyStoreTest, SavingTrimsAndReplacesOneEntryPerProviderAndBlankRemovesIt)
{
    ASSERT_TRUE(m_store.save("\u00a0sk-test-0123456789\r\n", ProviderID::openai));
    EXPECT_EQ(m_store.key(ProviderID::openai), "sk-test-0123456789");
    const QString stored = storedSecrets("openai");
    EXPECT_EQ(stored.count("\n[/"), 1) << stored.toStdString();
    EXPECT_TRUE(stored.contains("secret = sk-test-0123456789\n"));

    EXPECT_TRUE(m_store.save("   ", ProviderID::openai));
    EXPECT_FALSE(m_store.hasKey(ProviderID::openai));
    EXPECT_FALSE(storedSecrets("openai").contains("\n[/"));
    EXPECT_TRUE(m_store.save(" \n ", ProviderID::openai));
    EXPECT_EQ(m_store.key(ProviderID::anthropic), "sk-anthropic");
}

// A command-line run uses the store from the main thread, then waits for a worker without any event loop;
// the engine reads keys on plain worker threads while the main thread runs the application's event loop.
TEST_F(KeychainKeyStoreTest, WorkerThreadsReadWhetherTheMainThreadIsBlockedOrRunsItsEventLoop)
{
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

// Sets an environment variable (a null value unsets it) until the end of the scope.
[[nodiscard]] auto environmentVariable(const char* name, const QByteArray& value)
{
    const auto saved = qEnvironmentVariableIsSet(name) ? std::optional(qgetenv(name)) : std::nullopt;
    value.isNull() ? qunsetenv(name) : qputenv(name, value);
    return qScopeGuard([=] { saved ? qputenv(name, *saved) : qunsetenv(name); });
}

struct UnavailableRow
{
    const char* name;
    const char* bus; // the socket in the test's folder that DBUS_SESSION_BUS_ADDRESS names; null: unset
    bool listening;  // something accepts connections there and never answers
    std::chrono::milliseconds timeout;
    std::chrono::milliseconds limit; // every operation returns within it
};

class KeychainKeyStoreUnavailableTest : public ::testing::TestWithParam<UnavailableRow>
{
};

// Every operation fails the way callers expect, in time.
TEST_P(KeychainKeyStoreUnavailableTest, EveryOperationFailsInTime)
{
    if (g_reachedKeyring) {
        GTEST_SKIP() << "this process already holds a session bus connection; run this suite on its own";
    }
    const UnavailableRow& row = GetParam();
    const QTemporaryDir dir;
    const QByteArray path = dir.filePath(QString::fromLatin1(row.bus)).toUtf8();
    const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
    const auto closeListener = qScopeGuard([listener] { ::close(listener); });
    if (row.listening) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::copy(path.begin(), path.end(), address.sun_path);
        ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);
        ASSERT_EQ(::listen(listener, 16), 0);
    }
    const auto bus = environmentVariable("DBUS_SESSION_BUS_ADDRESS", row.bus ? "unix:path=" + path : QByteArray());
    const auto runtime = environmentVariable("XDG_RUNTIME_DIR", dir.path().toUtf8());
    KeychainKeyStore store(row.timeout);
    const auto timed = [&row](const char* operation, auto call) {
        const auto start = std::chrono::steady_clock::now();
        call();
        EXPECT_LT(std::chrono::steady_clock::now() - start, row.limit) << operation;
    };
    timed("key", [&] { EXPECT_EQ(store.key(ProviderID::openai), std::nullopt); });
    timed("hasKey", [&] { EXPECT_FALSE(store.hasKey(ProviderID::openai)); });
    timed("save", [&] { EXPECT_FALSE(store.save("sk-nowhere", ProviderID::openai)); });
    timed("remove", [&] { EXPECT_FALSE(store.remove(ProviderID::openai)); });
}

// Without a bus nothing is attempted: far below the timeout, so no daemon or prompt could have started. A
// silent bus runs last, since its hanging job holds QtKeychain's queue for the rest of the process.
INSTANTIATE_TEST_SUITE_P(, KeychainKeyStoreUnavailableTest,
                         ::testing::Values(UnavailableRow{"WithoutASessionBus", nullptr, false, 30s, 1s},
                                           UnavailableRow{"NobodyListening", "no-bus", false, 2s, 3s},
                                           UnavailableRow{"SilentBus", "silent-bus", true, 300ms, 1300ms}),
                         test::ParamName());

} // namespace
} // namespace vesk::app
