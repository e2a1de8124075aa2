#include "app/services/SingleInstance.h"
#include "app/common/Logging.h"

#include "app/common/AppIdentity.h"

#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QLoggingCategory>
#include <QStandardPaths>
#include <unistd.h>

namespace vesk::app {


namespace {

constexpr int timeoutMs = 2000;

QString runtimeDirectory()
{
    QString dir = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    return dir.isEmpty() ? QDir::tempPath() : dir;
}

} // namespace

SingleInstance::SingleInstance(QObject* parent) : QObject(parent) {}

SingleInstance::~SingleInstance() = default;

QString SingleInstance::serverName()
{
    return QStringLiteral("%1/%2-%3.sock").arg(runtimeDirectory(), applicationId).arg(getuid());
}

bool SingleInstance::listen()
{
    // The lock decides who is first even when two launches race; the socket is only how they talk.
    m_lock = std::make_unique<QLockFile>(
        QStringLiteral("%1/%2-%3.lock").arg(runtimeDirectory(), applicationId).arg(getuid()));
    m_lock->setStaleLockTime(0);
    if (!m_lock->tryLock(100)) {
        return false;
    }
    QLocalServer::removeServer(serverName()); // left behind by a crash
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(serverName())) {
        qCWarning(lcInstance) << "Couldn't listen for other launches:" << m_server->errorString();
        return true; // still the only instance; later launches just can't reach it
    }
    connect(m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = m_server->nextPendingConnection()) {
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                if (!socket->canReadLine()) {
                    return;
                }
                const QString message = QString::fromUtf8(socket->readLine()).trimmed();
                socket->write("ok\n");
                socket->flush();
                socket->disconnectFromServer();
                emit messageReceived(message);
            });
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        }
    });
    return true;
}

bool SingleInstance::send(const QString& message, QString* error)
{
    QLocalSocket socket;
    socket.connectToServer(serverName());
    if (!socket.waitForConnected(timeoutMs)) {
        if (error != nullptr) {
            *error = QStringLiteral("Vesk isn't running. Start it with `vesk`, then try again.");
        }
        return false;
    }
    socket.write(message.toUtf8() + '\n');
    socket.flush();
    if (!socket.waitForReadyRead(timeoutMs) || !socket.readLine().startsWith("ok")) {
        if (error != nullptr) {
            *error = QStringLiteral("Vesk is running but didn't answer.");
        }
        return false;
    }
    return true;
}

} // namespace vesk::app
