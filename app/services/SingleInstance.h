#pragma once

// One Vesk per user: the first launch listens on a per-user local socket, later launches hand their
// request ("show", "fix") to it and exit.

#include <QObject>
#include <QString>
#include <memory>

class QLocalServer;
class QLockFile;

namespace vesk::app {

class SingleInstance : public QObject
{
    Q_OBJECT

public:
    explicit SingleInstance(QObject* parent = nullptr);
    ~SingleInstance() override;

    // Becomes the running instance; false when another one already is.
    bool listen();
    // Hands `message` to the running instance; false with a reason when none answers.
    static bool send(const QString& message, QString* error);
    // The per-user socket name.
    static QString serverName();

signals:
    void messageReceived(const QString& message);

private:
    std::unique_ptr<QLockFile> m_lock;
    QLocalServer* m_server = nullptr;
};

} // namespace vesk::app
