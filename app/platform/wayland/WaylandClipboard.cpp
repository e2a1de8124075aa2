#include "app/platform/wayland/WaylandClipboard.h"

#include "app/common/Logging.h"
#include "app/platform/SystemClipboard.h"
#include "app/platform/wayland/WaylandConnection.h"
#include "wlr-data-control-unstable-v1-client.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <thread>
#include <unistd.h>
#include <wayland-client.h>

namespace vesk::app {
namespace {

// Text formats in the order of preference for reading; all of them are offered for text Vesk puts there.
const std::array<const char*, 5> textFormats = {"text/plain;charset=utf-8", "text/plain", "UTF8_STRING", "STRING",
                                                "TEXT"};
constexpr const char* passwordManagerHint = "x-kde-passwordManagerHint";
constexpr std::chrono::milliseconds writeLimit{3000};

const zwlr_data_control_v1_listener deviceListener = {WaylandClipboard::dataOffer, WaylandClipboard::selection,
                                                      WaylandClipboard::finished};
const zwlr_data_control_offer_v1_listener offerListener = {WaylandClipboard::offerFormat};
const zwlr_data_control_source_v1_listener sourceListener = {WaylandClipboard::send, WaylandClipboard::cancelled};

// Writes `bytes` into the reader's pipe off the event loop: a large picture does not fit a pipe, and a
// reader that stops reading must not hold up the app. Gives up after a bounded time.
void writeDetached(int fd, QByteArray bytes)
{
    std::thread([fd, bytes = std::move(bytes)] {
        // A reader that closes early would raise SIGPIPE; here it only ends the write.
        sigset_t pipe;
        sigemptyset(&pipe);
        sigaddset(&pipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
        fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
        const auto deadline = std::chrono::steady_clock::now() + writeLimit;
        qsizetype written = 0;
        while (written < bytes.size()) {
            const ssize_t n = ::write(fd, bytes.constData() + written, static_cast<size_t>(bytes.size() - written));
            if (n > 0) {
                written += n;
                continue;
            }
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
            if ((n < 0 && errno != EAGAIN && errno != EINTR) || left.count() <= 0) {
                break;
            }
            pollfd writable{fd, POLLOUT, 0};
            ::poll(&writable, 1, static_cast<int>(left.count()));
        }
        ::close(fd);
    }).detach();
}

} // namespace

// A selection Vesk owns: what it offers, and whether the target has read it since the paste.
struct WaylandClipboard::Source
{
    zwlr_data_control_source_v1* source = nullptr;
    ClipboardContents contents;
    QList<QPair<QString, QByteArray>> formats;
    bool transient = false;
    bool pasteWaiting = false; // a paste went out and nobody read the text since

    ~Source() { zwlr_data_control_source_v1_destroy(source); }
};

WaylandClipboard::WaylandClipboard(std::shared_ptr<WaylandConnection> connection, QObject* parent)
    : Clipboard(parent), m_connection(std::move(connection))
{
    m_holdTimer.setSingleShot(true);
    connect(&m_holdTimer, &QTimer::timeout, this, [this] {
        qCInfo(lcPlatform) << "The paste did not read the clipboard within" << transientHoldLimit.count() << "ms";
        applyPendingRestore();
    });
    if (m_connection->dataControl() == nullptr || m_connection->seat() == nullptr) {
        return;
    }
    m_device = zwlr_data_control_manager_v1_get_data_control(m_connection->dataControl(), m_connection->seat());
    zwlr_data_control_v1_add_listener(m_device, &deviceListener, this);
    // The compositor answers with the current selection.
    m_connection->roundTrip();
}

WaylandClipboard::~WaylandClipboard()
{
    m_own.reset();
    for (auto it = m_offers.cbegin(); it != m_offers.cend(); ++it) {
        zwlr_data_control_offer_v1_destroy(it.key());
    }
    if (m_device != nullptr) {
        zwlr_data_control_v1_destroy(m_device);
    }
    m_connection->flush();
}

void WaylandClipboard::dataOffer(void* data, zwlr_data_control_v1*, zwlr_data_control_offer_v1* offer)
{
    auto* self = static_cast<WaylandClipboard*>(data);
    self->m_offers.insert(offer, {});
    zwlr_data_control_offer_v1_add_listener(offer, &offerListener, self);
}

void WaylandClipboard::offerFormat(void* data, zwlr_data_control_offer_v1* offer, const char* format)
{
    auto* self = static_cast<WaylandClipboard*>(data);
    self->m_offers[offer].append(QString::fromUtf8(format));
}

void WaylandClipboard::selection(void* data, zwlr_data_control_v1*, zwlr_data_control_offer_v1* offer)
{
    auto* self = static_cast<WaylandClipboard*>(data);
    if (self->m_current != nullptr && self->m_current != offer) {
        self->m_offers.remove(self->m_current);
        zwlr_data_control_offer_v1_destroy(self->m_current);
    }
    self->m_current = offer;
    // Our own selection coming back is no change by another app.
    if (self->m_own || (offer == nullptr && std::exchange(self->m_clearedByUs, false))) {
        return;
    }
    ++self->m_changeCount;
    qCDebug(lcPlatform) << "Clipboard taken by another app," << self->m_offers.value(offer).size() << "formats";
    emit self->changed();
}

void WaylandClipboard::finished(void* data, zwlr_data_control_v1*)
{
    auto* self = static_cast<WaylandClipboard*>(data);
    qCWarning(lcPlatform) << "The compositor ended clipboard access";
    zwlr_data_control_v1_destroy(self->m_device);
    self->m_device = nullptr;
}

void WaylandClipboard::send(void* data, zwlr_data_control_source_v1* source, const char* format, int32_t fd)
{
    auto* self = static_cast<WaylandClipboard*>(data);
    if (!self->m_own || self->m_own->source != source) {
        ::close(fd);
        return;
    }
    const QString wanted = QString::fromUtf8(format);
    QByteArray bytes;
    for (const auto& [name, content] : std::as_const(self->m_own->formats)) {
        if (name == wanted) {
            bytes = content;
            break;
        }
    }
    writeDetached(fd, bytes);
    if (self->m_own->pasteWaiting) {
        // The target has the corrected text in its pipe; the user's clipboard may come back now.
        self->m_own->pasteWaiting = false;
        QTimer::singleShot(0, self, [self] { self->applyPendingRestore(); });
    }
}

void WaylandClipboard::cancelled(void* data, zwlr_data_control_source_v1* source)
{
    auto* self = static_cast<WaylandClipboard*>(data);
    if (self->m_own && self->m_own->source == source) {
        self->m_own.reset();
    }
}

void WaylandClipboard::notePastePosted()
{
    if (m_own && m_own->transient) {
        m_own->pasteWaiting = true;
    }
}

std::optional<QByteArray> WaylandClipboard::read(const QString& format, std::chrono::milliseconds limit,
                                                 qsizetype maxBytes)
{
    int fds[2];
    if (m_current == nullptr || pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0) {
        return std::nullopt;
    }
    zwlr_data_control_offer_v1_receive(m_current, format.toUtf8().constData(), fds[1]);
    m_connection->flush();
    ::close(fds[1]);
    QByteArray bytes;
    QElapsedTimer elapsed;
    elapsed.start();
    char buffer[65536];
    for (;;) {
        const ssize_t n = ::read(fds[0], buffer, sizeof buffer);
        if (n > 0) {
            bytes.append(buffer, n);
            if (bytes.size() > maxBytes) {
                qCInfo(lcPlatform) << "Clipboard format of more than" << maxBytes << "bytes left out";
                ::close(fds[0]);
                return std::nullopt;
            }
            continue;
        }
        if (n == 0) {
            break; // the owner closed its end: all there
        }
        const qint64 left = limit.count() - elapsed.elapsed();
        if ((errno != EAGAIN && errno != EINTR) || left <= 0) {
            qCInfo(lcPlatform) << "The clipboard's owner did not hand over" << format << "within" << limit.count()
                               << "ms";
            ::close(fds[0]);
            return std::nullopt;
        }
        pollfd readable{fds[0], POLLIN, 0};
        ::poll(&readable, 1, static_cast<int>(left));
    }
    ::close(fds[0]);
    return bytes;
}

ClipboardContents WaylandClipboard::snapshot()
{
    m_connection->roundTrip();
    if (m_pendingRestore) {
        // The corrected text still waits for its paste; what the clipboard holds for the user is this.
        return *m_pendingRestore;
    }
    if (m_own) {
        return m_own->contents;
    }
    ClipboardContents contents;
    if (m_current == nullptr) {
        return contents;
    }
    const QStringList formats = SystemClipboard::usefulFormats(m_offers.value(m_current));
    if (formats.isEmpty()) {
        return contents;
    }
    if (std::all_of(formats.cbegin(), formats.cend(), isPlainText)) {
        if (const std::optional<QString> plain = text()) {
            contents.kind = ClipboardContents::Kind::strings;
            contents.strings.append(*plain);
        }
        return contents;
    }
    return snapshotWithinBudget(formats, [this](const QString& format, std::chrono::milliseconds timeLeft,
                                                qsizetype bytesLeft) { return read(format, timeLeft, bytesLeft); });
}

std::optional<QString> WaylandClipboard::text()
{
    m_connection->roundTrip();
    if (m_own) {
        if (m_own->contents.kind == ClipboardContents::Kind::strings) {
            return m_own->contents.strings.join(u'\n');
        }
        for (const auto& [format, bytes] : std::as_const(m_own->formats)) {
            if (isPlainText(format)) {
                return QString::fromUtf8(bytes);
            }
        }
        return std::nullopt;
    }
    const QStringList offered = m_offers.value(m_current);
    for (const char* format : textFormats) {
        if (offered.contains(QLatin1String(format))) {
            if (const std::optional<QByteArray> bytes =
                    read(QLatin1String(format), snapshotTimeBudget, snapshotSizeBudget)) {
                return QString::fromUtf8(*bytes);
            }
            return std::nullopt;
        }
    }
    return std::nullopt;
}

void WaylandClipboard::restore(const ClipboardContents& contents)
{
    if (m_own && m_own->pasteWaiting) {
        m_pendingRestore = contents;
        m_holdTimer.start(transientHoldLimit);
        return;
    }
    m_pendingRestore.reset();
    offerContents(contents, false);
}

void WaylandClipboard::applyPendingRestore()
{
    m_holdTimer.stop();
    if (m_pendingRestore) {
        const ClipboardContents contents = *std::exchange(m_pendingRestore, std::nullopt);
        offerContents(contents, false);
    }
}

void WaylandClipboard::setTransientText(const QString& text)
{
    ClipboardContents contents;
    contents.kind = ClipboardContents::Kind::strings;
    contents.strings.append(text);
    offerContents(contents, true);
}

void WaylandClipboard::offerContents(const ClipboardContents& contents, bool transient)
{
    if (m_device == nullptr) {
        return;
    }
    if (contents.kind == ClipboardContents::Kind::empty) {
        m_own.reset();
        m_clearedByUs = true;
        zwlr_data_control_v1_set_selection(m_device, nullptr);
        m_connection->flush();
        return;
    }
    auto own = std::make_unique<Source>();
    own->source = zwlr_data_control_manager_v1_create_data_source(m_connection->dataControl());
    own->contents = contents;
    own->transient = transient;
    if (contents.kind == ClipboardContents::Kind::strings) {
        const QByteArray utf8 = contents.strings.join(u'\n').toUtf8();
        for (const char* format : textFormats) {
            own->formats.append({QLatin1String(format), utf8});
        }
        if (transient) {
            // Klipper, CopyQ and others leave entries with this hint out of their history.
            own->formats.append({QLatin1String(passwordManagerHint), QByteArrayLiteral("secret")});
        }
    } else {
        own->formats = contents.formats;
    }
    zwlr_data_control_source_v1_add_listener(own->source, &sourceListener, this);
    for (const auto& [format, bytes] : std::as_const(own->formats)) {
        zwlr_data_control_source_v1_offer(own->source, format.toUtf8().constData());
    }
    zwlr_data_control_v1_set_selection(m_device, own->source);
    // The previous source of ours is destroyed only after the new one has replaced it.
    m_own = std::move(own);
    m_clearedByUs = false;
    m_connection->flush();
}

} // namespace vesk::app
