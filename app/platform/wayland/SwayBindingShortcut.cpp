#include "app/platform/wayland/SwayBindingShortcut.h"

#include "app/common/Logging.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <cstring>

namespace vesk::app {
namespace {

using namespace std::chrono_literals;

constexpr char magic[] = "i3-ipc";
constexpr qsizetype magicSize = sizeof magic - 1;
constexpr qsizetype headerSize = magicSize + 2 * sizeof(quint32);
// Binding events and the subscription's answer are a few hundred bytes.
constexpr quint32 maxPayload = 1024 * 1024;
constexpr auto firstRetry = 1s;
constexpr auto lastRetry = 30s;

// The commands of a sway command chain (split at ';' and ',') as words, split and unquoted as the shell
// does it, which is close enough for finding the program and its argument.
QList<QStringList> commandWords(const QString& chain)
{
    QList<QStringList> commands(1);
    QString word;
    bool inWord = false;
    QChar quote;
    for (qsizetype i = 0; i < chain.size(); ++i) {
        const QChar c = chain[i];
        const bool escaped = c == u'\\' && quote != u'\'' && i + 1 < chain.size();
        if (escaped) {
            word += chain[++i];
            inWord = true;
        } else if (!quote.isNull()) {
            if (c == quote) {
                quote = QChar();
            } else {
                word += c;
            }
        } else if (c == u'\'' || c == u'"') {
            quote = c;
            inWord = true;
        } else if (c.isSpace() || c == u';' || c == u',') {
            if (inWord) {
                commands.last() << std::exchange(word, QString());
                inWord = false;
            }
            if (c == u';' || c == u',') {
                commands.append(QStringList());
            }
        } else {
            word += c;
            inWord = true;
        }
    }
    if (inWord) {
        commands.last() << word;
    }
    return commands;
}

} // namespace

SwayBindingShortcut::SwayBindingShortcut(Reason reason, const QString& socketPath, QObject* parent)
    : RefusingGlobalShortcut(std::move(reason), parent), m_path(socketPath), m_retryDelay(firstRetry)
{
    if (m_path.isEmpty()) {
        return;
    }
    m_socket = new QLocalSocket(this);
    connect(m_socket, &QLocalSocket::connected, this, [this] {
        m_socket->write(encode({subscribeType, QByteArrayLiteral("[\"binding\"]")}));
    });
    connect(m_socket, &QLocalSocket::readyRead, this, [this] { receive(m_socket->readAll()); });
    // A refused connection, a closed socket and a stream given up on all end here.
    connect(m_socket, &QLocalSocket::stateChanged, this, [this](QLocalSocket::LocalSocketState state) {
        if (state == QLocalSocket::UnconnectedState) {
            lost();
        }
    });
    m_retry.setSingleShot(true);
    connect(&m_retry, &QTimer::timeout, this, &SwayBindingShortcut::connectToCompositor);
    connectToCompositor();
}

SwayBindingShortcut::~SwayBindingShortcut()
{
    if (m_socket != nullptr) {
        m_socket->disconnect(this);
    }
}

void SwayBindingShortcut::connectToCompositor()
{
    m_buffer.clear();
    m_socket->connectToServer(m_path);
}

void SwayBindingShortcut::lost()
{
    if (m_retry.isActive()) {
        return;
    }
    if (m_subscribed) {
        qCInfo(lcPlatform) << "The compositor's IPC socket went away; `vesk fix` alone starts corrections until "
                              "it is back";
        m_subscribed = false;
        // No answer will come: requests still waiting for one start their corrections now.
        for (const bool pressed : std::exchange(m_requestsAsking, {})) {
            if (!pressed) {
                press();
            }
        }
        m_retryDelay = firstRetry;
    }
    m_retry.start(m_retryDelay);
    m_retryDelay = std::min<std::chrono::milliseconds>(m_retryDelay * 2, lastRetry);
}

void SwayBindingShortcut::receive(const QByteArray& bytes)
{
    m_buffer += bytes;
    bool corrupt = false;
    while (const std::optional<Frame> frame = takeFrame(m_buffer, corrupt)) {
        handle(*frame);
    }
    if (corrupt) {
        qCWarning(lcPlatform) << "The compositor's IPC socket sent something else than IPC messages";
        m_buffer.clear();
        if (m_socket != nullptr) {
            m_socket->abort();
        }
    }
}

void SwayBindingShortcut::handle(const Frame& frame)
{
    const QJsonObject answer = QJsonDocument::fromJson(frame.payload).object();
    if (frame.type == subscribeType) {
        m_subscribed = answer.value(QLatin1String("success")).toBool();
        if (m_subscribed) {
            m_retryDelay = firstRetry;
            qCInfo(lcPlatform) << "The compositor reports its bindings: a bound `vesk fix` starts at the key press";
        } else {
            qCWarning(lcPlatform) << "The compositor won't report its bindings; `vesk fix` alone starts corrections";
        }
    } else if (frame.type == versionType && !m_requestsAsking.empty()) {
        const bool pressed = m_requestsAsking.front();
        m_requestsAsking.pop_front();
        if (!pressed) {
            qCDebug(lcPlatform) << "`vesk fix` ran without the binding";
            press();
        }
    } else if (frame.type == bindingEvent) {
        const QJsonObject binding = answer.value(QLatin1String("binding")).toObject();
        if (runsVeskFix(binding.value(QLatin1String("command")).toString())) {
            bindingRan();
        }
    }
}

void SwayBindingShortcut::bindingRan()
{
    if (name().isEmpty() || isPaused()) {
        return; // its `vesk fix` does what it does today
    }
    const auto asking = std::find(m_requestsAsking.begin(), m_requestsAsking.end(), false);
    if (asking != m_requestsAsking.end()) {
        *asking = true;
        qCDebug(lcPlatform) << "The binding's `vesk fix` came before the binding's event";
    } else {
        ++m_unclaimedPresses;
        qCDebug(lcPlatform) << "The compositor ran the binding of" << name();
    }
    press();
}

void SwayBindingShortcut::press()
{
    // The compositor tells of the binding, not of the keys: the press and its release come as one.
    emit pressed(name());
    emit released(name());
}

bool SwayBindingShortcut::claimFixRequest()
{
    if (m_unclaimedPresses > 0) {
        --m_unclaimedPresses;
        return true;
    }
    if (!m_subscribed || name().isEmpty() || isPaused()) {
        return false;
    }
    m_requestsAsking.push_back(false);
    if (m_socket != nullptr) {
        m_socket->write(encode({versionType, {}}));
    }
    return true;
}

QByteArray SwayBindingShortcut::encode(const Frame& frame)
{
    QByteArray bytes(magic, magicSize);
    const quint32 header[] = {static_cast<quint32>(frame.payload.size()), frame.type};
    bytes.append(reinterpret_cast<const char*>(header), sizeof header);
    return bytes + frame.payload;
}

std::optional<SwayBindingShortcut::Frame> SwayBindingShortcut::takeFrame(QByteArray& buffer, bool& corrupt)
{
    if (!QByteArray(magic, magicSize).startsWith(buffer.left(magicSize))) {
        corrupt = true;
        return std::nullopt;
    }
    if (buffer.size() < headerSize) {
        return std::nullopt;
    }
    quint32 header[2] = {};
    std::memcpy(header, buffer.constData() + magicSize, sizeof header);
    if (header[0] > maxPayload) {
        corrupt = true;
        return std::nullopt;
    }
    if (buffer.size() < headerSize + header[0]) {
        return std::nullopt;
    }
    Frame frame{header[1], buffer.mid(headerSize, header[0])};
    buffer.remove(0, headerSize + header[0]);
    return frame;
}

bool SwayBindingShortcut::runsVeskFix(const QString& command)
{
    for (const QStringList& words : commandWords(command)) {
        const bool exec =
            !words.isEmpty() && (words[0].compare(QLatin1String("exec"), Qt::CaseInsensitive) == 0 ||
                                 words[0].compare(QLatin1String("exec_always"), Qt::CaseInsensitive) == 0);
        if (exec && words.size() >= 3 && words.last() == QLatin1String("fix") &&
            words[words.size() - 2].section(u'/', -1) == QLatin1String("vesk")) {
            return true;
        }
    }
    return false;
}

} // namespace vesk::app
