#include "app/services/KeychainKeyStore.h"
#include "app/common/Logging.h"

#include "app/common/AppIdentity.h"
#include "core/UnicodeText.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QThread>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <qt6keychain/keychain.h>
#include <type_traits>
#include <utility>
#include <vector>

// Threading. Every QtKeychain job in the process runs on one dedicated keyring thread, and callers on any
// thread wait for it with a plain timed wait. Running jobs on the calling thread does not work:
// QtKeychain queues all jobs through one process-wide, unsynchronised executor object that lives in the
// thread of the first job and is told about finished jobs through that thread's event loop. Once the
// main thread had run a job, a job from a worker thread (main thread blocked, as in a CLI waiting for the
// engine) finished, but the next one never started and the process crashed at exit. Marshalling onto the
// main thread instead would deadlock whenever the main thread itself waits for the caller. The keyring
// thread never waits for anyone, so neither can happen.
//
// libsecret completes its calls through GLib callbacks on the GMainContext of the thread that started them;
// Qt's default GLib event dispatcher gives the keyring thread its own context and iterates it.

namespace vesk::app {
namespace {


struct Outcome
{
    QKeychain::Error error = QKeychain::OtherError;
    QString errorString; // from the keyring, never contains the secret
    QByteArray data;     // what a read found
};

// One store operation: jobs that run one after another. Only the last job's outcome is reported; the
// jobs before it clear the way (delete-then-add).
struct Request
{
    std::vector<std::function<QKeychain::Job*()>> steps;
    std::mutex mutex;
    std::condition_variable settled;
    bool done = false;
    bool abandoned = false; // the caller stopped waiting: steps not started yet never start
    Outcome outcome;
};

bool isAbandoned(Request& request)
{
    const std::scoped_lock lock(request.mutex);
    return request.abandoned;
}

// Lives on the keyring thread. Starts one request at a time, so QtKeychain's own queue never holds a job
// that a timed-out caller has already reported as failed: such a job would otherwise still run once the
// keyring answers again, e.g. write a key the user was told wasn't saved.
class KeyringRunner : public QObject
{
public:
    void enqueue(std::shared_ptr<Request> request)
    {
        m_pending.push_back(std::move(request));
        startNext();
    }

private:
    void startNext()
    {
        while (!m_current && !m_pending.empty()) {
            std::shared_ptr<Request> next = std::move(m_pending.front());
            m_pending.pop_front();
            if (!isAbandoned(*next)) {
                m_current = std::move(next);
                runStep(0);
            }
        }
    }

    void runStep(std::size_t index)
    {
        QKeychain::Job* job = m_current->steps[index]();
        // A job whose caller has gone still finishes here, on the runner, which outlives every job; the
        // job then deletes itself.
        job->setAutoDelete(true);
        connect(job, &QKeychain::Job::finished, this,
                [this, index](QKeychain::Job* finished) { stepFinished(index, finished); });
        job->start();
    }

    void stepFinished(std::size_t index, QKeychain::Job* job)
    {
        const bool isLast = index + 1 == m_current->steps.size();
        if (!isLast && !isAbandoned(*m_current)) {
            runStep(index + 1);
            return;
        }
        Outcome outcome{job->error(), job->errorString(), {}};
        if (const auto* read = qobject_cast<QKeychain::ReadPasswordJob*>(job)) {
            outcome.data = read->binaryData();
        }
        {
            const std::scoped_lock lock(m_current->mutex);
            m_current->outcome = std::move(outcome);
            m_current->done = true;
        }
        m_current->settled.notify_all();
        m_current.reset();
        startNext();
    }

    std::deque<std::shared_ptr<Request>> m_pending;
    std::shared_ptr<Request> m_current;
};

class KeyringThread
{
public:
    static KeyringThread& instance()
    {
        static KeyringThread thread;
        return thread;
    }

    void post(std::shared_ptr<Request> request)
    {
        const std::scoped_lock lock(m_mutex);
        if (!m_runner) {
            return; // stopped at shutdown: the caller times out and reports the keyring unavailable
        }
        KeyringRunner* runner = m_runner;
        QMetaObject::invokeMethod(
            runner, [runner, request = std::move(request)]() mutable { runner->enqueue(std::move(request)); },
            Qt::QueuedConnection);
    }

private:
    KeyringThread() : m_thread(new QThread)
    {
        m_thread->setObjectName(QStringLiteral("vesk-keyring"));
        m_runner = new KeyringRunner;
        m_runner->moveToThread(m_thread);
        m_thread->start();
        QMetaObject::invokeMethod(
            m_runner,
            [] {
                const QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance();
                if (!dispatcher || !dispatcher->inherits("QEventDispatcherGlib")) {
                    qCWarning(lcKeyring) << "Qt runs without its GLib event dispatcher (QT_NO_GLIB?); "
                                            "keyring calls will time out";
                }
            },
            Qt::QueuedConnection);
        // Stop while QtKeychain's and Qt's own statics are still alive; the destructor covers processes
        // without a QCoreApplication.
        if (QCoreApplication::instance()) {
            qAddPostRoutine([] { instance().stop(); });
        }
    }

    ~KeyringThread() { stop(); }

    void stop()
    {
        KeyringRunner* runner = nullptr;
        {
            const std::scoped_lock lock(m_mutex);
            runner = std::exchange(m_runner, nullptr);
        }
        if (!runner) {
            return;
        }
        m_thread->quit();
        // The thread only ever waits in its event loop, so it stops at once. Should it not, leak it rather
        // than destroy a running thread.
        if (m_thread->wait(QDeadlineTimer(2000))) {
            delete runner;
            delete m_thread;
        }
        m_thread = nullptr;
    }

    std::mutex m_mutex;
    QThread* m_thread;
    KeyringRunner* m_runner;
};

// Runs the steps on the keyring thread; nothing when they don't finish within the timeout.
std::optional<Outcome> run(std::vector<std::function<QKeychain::Job*()>> steps, std::chrono::milliseconds timeout)
{
    auto request = std::make_shared<Request>();
    request->steps = std::move(steps);
    KeyringThread::instance().post(request);
    std::unique_lock lock(request->mutex);
    if (!request->settled.wait_for(lock, timeout, [&] { return request->done; })) {
        request->abandoned = true;
        return std::nullopt;
    }
    return std::move(request->outcome);
}

// Without a session bus, GLib falls back to D-Bus autolaunch, which can start a keyring daemon whose unlock
// prompt never gets an answer. No bus address means no keyring, decided before any job starts.
bool hasSessionBus()
{
    if (!qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) {
        return true;
    }
    const QString runtimeDir = qEnvironmentVariable("XDG_RUNTIME_DIR");
    return !runtimeDir.isEmpty() && QFileInfo::exists(runtimeDir + QStringLiteral("/bus"));
}

QString account(ProviderID provider)
{
    const std::string_view raw = rawValue(provider);
    return QString::fromUtf8(raw.data(), static_cast<qsizetype>(raw.size()));
}

QString service()
{
    return QString::fromStdString(KeychainKeyStore::serviceName());
}

// A job for the provider's entry, created when its turn comes on the keyring thread. Only writes take a
// secret.
template <typename JobType> std::function<QKeychain::Job*()> makeJob(ProviderID provider, QString secret = {})
{
    return [provider, secret = std::move(secret)] {
        auto* job = new JobType(service());
        job->setKey(account(provider));
        if constexpr (std::is_same_v<JobType, QKeychain::WritePasswordJob>) {
            job->setTextData(secret);
        }
        return job;
    };
}

const char* describe(QKeychain::Error error)
{
    switch (error) {
    case QKeychain::NoError:
        return "no error";
    case QKeychain::EntryNotFound:
        return "entry not found";
    case QKeychain::CouldNotDeleteEntry:
        return "could not delete entry";
    case QKeychain::AccessDeniedByUser:
        return "access denied by user";
    case QKeychain::AccessDenied:
        return "access denied (locked?)";
    case QKeychain::NoBackendAvailable:
        return "no keyring service";
    case QKeychain::NotImplemented:
        return "not implemented";
    case QKeychain::OtherError:
        break;
    }
    return "error";
}

void logFailure(const char* operation, ProviderID provider, const std::optional<Outcome>& outcome,
                std::chrono::milliseconds timeout)
{
    if (!outcome) {
        qCWarning(lcKeyring).nospace().noquote()
            << operation << " " << account(provider) << ": no answer within " << timeout.count() << " ms";
    } else {
        qCWarning(lcKeyring).nospace().noquote() << operation << " " << account(provider) << ": "
                                                 << describe(outcome->error) << ": " << outcome->errorString;
    }
}

std::optional<Outcome> read(ProviderID provider, std::chrono::milliseconds timeout)
{
    if (!hasSessionBus()) {
        qCWarning(lcKeyring) << "No D-Bus session bus: keyring unavailable";
        return std::nullopt;
    }
    std::optional<Outcome> outcome = run({makeJob<QKeychain::ReadPasswordJob>(provider)}, timeout);
    if (!outcome || (outcome->error != QKeychain::NoError && outcome->error != QKeychain::EntryNotFound)) {
        logFailure("Reading the key for", provider, outcome, timeout);
    }
    return outcome;
}

} // namespace

KeychainKeyStore::KeychainKeyStore(std::chrono::milliseconds timeout) : m_timeout(timeout) {}

std::string KeychainKeyStore::serviceName()
{
    return std::string(applicationId) + ".apikeys";
}

std::optional<std::string> KeychainKeyStore::key(ProviderID provider)
{
    const std::optional<Outcome> outcome = read(provider, m_timeout);
    if (!outcome || outcome->error != QKeychain::NoError) {
        return std::nullopt;
    }
    // Bytes that aren't UTF-8 were not written by us; reading them as "no key" lets the user save anew.
    if (!unicode::isValidUtf8(std::string_view(outcome->data.constData(), outcome->data.size()))) {
        qCWarning(lcKeyring).noquote() << "The stored key for" << account(provider) << "is not UTF-8";
        return std::nullopt;
    }
    return outcome->data.toStdString();
}

bool KeychainKeyStore::hasKey(ProviderID provider)
{
    // QtKeychain has no query for presence alone, so this reads the secret and drops it.
    const std::optional<Outcome> outcome = read(provider, m_timeout);
    return outcome && outcome->error == QKeychain::NoError;
}

bool KeychainKeyStore::save(std::string_view key, ProviderID provider)
{
    const std::string_view trimmedKey = unicode::trimmed(key);
    if (trimmedKey.empty()) {
        return remove(provider);
    }
    if (!hasSessionBus()) {
        qCWarning(lcKeyring) << "No D-Bus session bus: keyring unavailable";
        return false;
    }
    // Replace by delete-then-add rather than overwriting in place: the entry is always written fresh with
    // our attributes. The delete's outcome doesn't matter; the add's does.
    const QString secret = QString::fromUtf8(trimmedKey.data(), static_cast<qsizetype>(trimmedKey.size()));
    const std::optional<Outcome> outcome =
        run({makeJob<QKeychain::DeletePasswordJob>(provider), makeJob<QKeychain::WritePasswordJob>(provider, secret)},
            m_timeout);
    if (!outcome || outcome->error != QKeychain::NoError) {
        logFailure("Saving the key for", provider, outcome, m_timeout);
        return false;
    }
    return true;
}

bool KeychainKeyStore::remove(ProviderID provider)
{
    if (!hasSessionBus()) {
        qCWarning(lcKeyring) << "No D-Bus session bus: keyring unavailable";
        return false;
    }
    const std::optional<Outcome> outcome = run({makeJob<QKeychain::DeletePasswordJob>(provider)}, m_timeout);
    if (!outcome || (outcome->error != QKeychain::NoError && outcome->error != QKeychain::EntryNotFound)) {
        logFailure("Removing the key for", provider, outcome, m_timeout);
        return false;
    }
    return true;
}

} // namespace vesk::app
