#pragma once

// The system clipboard, saved and restored whole so a correction leaves it as the user had it.

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QPair>
#include <QString>
#include <chrono>
#include <functional>
#include <optional>

namespace vesk::app {

// A saved copy of the clipboard.
struct ClipboardContents
{
    enum class Kind { empty, strings, items };
    Kind kind = Kind::empty;
    QList<QString> strings;                    // `strings`: plain text only
    QList<QPair<QString, QByteArray>> formats; // `items`: every useful format with its bytes, in order

    bool operator==(const ClipboardContents&) const = default;
};

// Reading a foreign clipboard waits for its owner, one format at a time: a snapshot reads no further formats
// after this long, and leaves out formats that would take it past this many bytes.
inline constexpr std::chrono::milliseconds snapshotTimeBudget{1000};
inline constexpr qsizetype snapshotSizeBudget = 64 * 1024 * 1024;

// Reads one format for a snapshot within the time and bytes the budget has left; nothing when it can't.
using SnapshotReader = std::function<std::optional<QByteArray>(
    const QString& format, std::chrono::milliseconds timeLeft, qsizetype bytesLeft)>;

// The `items` snapshot of `formats`, each read through `read` within the budget; `empty` when none was read.
ClipboardContents snapshotWithinBudget(const QStringList& formats, const SnapshotReader& read);

// Whether `format` is plain text ("text/plain", with or without a charset).
bool isPlainText(const QString& format);

class Clipboard : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    // Reads every useful format within a bounded time and size.
    virtual ClipboardContents snapshot() = 0;
    virtual void restore(const ClipboardContents& contents) = 0;
    // Puts short-lived text on the clipboard, marked so clipboard managers do not keep it.
    virtual void setTransientText(const QString& text) = 0;
    // The plain text on the clipboard, if any.
    virtual std::optional<QString> text() = 0;
    // Grows by one whenever the clipboard's owner or contents change.
    [[nodiscard]] virtual quint64 changeCount() const = 0;

signals:
    void changed();
};

} // namespace vesk::app
