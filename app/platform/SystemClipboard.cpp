#include "app/platform/SystemClipboard.h"

#include "app/common/Logging.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>

namespace vesk::app {
namespace {

constexpr const char* passwordManagerHint = "x-kde-passwordManagerHint";
constexpr const char* pngFormat = "image/png";

QClipboard* clipboard()
{
    return QGuiApplication::clipboard();
}

} // namespace

SystemClipboard::SystemClipboard(QObject* parent) : Clipboard(parent)
{
    // Qt reports an owner change on X11 through XFixes; the selection and find buffer are not ours to track.
    connect(clipboard(), &QClipboard::changed, this, [this](QClipboard::Mode mode) {
        if (mode == QClipboard::Clipboard) {
            ++m_changeCount;
            emit changed();
        }
    });
}

QStringList SystemClipboard::usefulFormats(const QStringList& offered)
{
    QStringList useful;
    bool hasPng = offered.contains(QLatin1String(pngFormat));
    bool keptImage = false;
    for (const QString& format : offered) {
        // X11 bookkeeping targets (TARGETS, MULTIPLE, TIMESTAMP, SAVE_TARGETS) and legacy names (UTF8_STRING,
        // COMPOUND_TEXT) are upper case; Qt offers their content under a MIME type too.
        if (format.isEmpty() || !format.at(0).isLower() || format.at(0).unicode() > 0x7f) {
            continue;
        }
        if (format == QLatin1String("application/x-qt-image") || useful.contains(format)) {
            continue;
        }
        // Every image format holds the same picture; PNG is lossless and rebuilds the others on restore.
        if (format.startsWith(QLatin1String("image/"))) {
            if (keptImage || (hasPng && format != QLatin1String(pngFormat))) {
                continue;
            }
            keptImage = true;
        }
        useful.append(format);
    }
    return useful;
}

ClipboardContents SystemClipboard::snapshot()
{
    ClipboardContents contents;
    const QMimeData* offer = clipboard()->mimeData(QClipboard::Clipboard);
    if (!offer) {
        return contents;
    }
    const QStringList formats = usefulFormats(offer->formats());
    if (formats.isEmpty()) {
        return contents;
    }
    if (std::all_of(formats.cbegin(), formats.cend(), isPlainText)) {
        contents.kind = ClipboardContents::Kind::strings;
        contents.strings.append(offer->text());
        return contents;
    }
    // The offer is Qt's and may be replaced by the time a slow owner answers, so each read goes through the
    // clipboard rather than keeping the pointer across reads.
    bool replaced = false;
    return snapshotWithinBudget(
        formats, [&](const QString& format, auto, qsizetype bytesLeft) -> std::optional<QByteArray> {
            const QMimeData* current = clipboard()->mimeData(QClipboard::Clipboard);
            if (replaced || current != offer) {
                if (!std::exchange(replaced, true)) {
                    qCInfo(lcPlatform) << "The clipboard changed while it was being saved";
                }
                return std::nullopt;
            }
            QByteArray data = current->data(format);
            if (data.isNull()) {
                return std::nullopt;
            }
            if (data.size() > bytesLeft) {
                qCInfo(lcPlatform) << "Clipboard format of" << data.size() << "bytes left out of the snapshot";
                return std::nullopt;
            }
            return data;
        });
}

void SystemClipboard::restore(const ClipboardContents& contents)
{
    switch (contents.kind) {
    case ClipboardContents::Kind::empty:
        clipboard()->clear(QClipboard::Clipboard);
        return;
    case ClipboardContents::Kind::strings: {
        auto* data = new QMimeData;
        data->setText(contents.strings.join(u'\n'));
        clipboard()->setMimeData(data, QClipboard::Clipboard);
        return;
    }
    case ClipboardContents::Kind::items: {
        auto* data = new QMimeData;
        for (const auto& [format, bytes] : contents.formats) {
            if (format == QLatin1String(pngFormat)) {
                // The image data makes Qt offer every image format it can write; the saved PNG still answers
                // requests for PNG byte for byte.
                QImage image;
                if (image.loadFromData(bytes, "PNG")) {
                    data->setImageData(image);
                }
            }
            data->setData(format, bytes);
        }
        clipboard()->setMimeData(data, QClipboard::Clipboard);
        return;
    }
    }
}

void SystemClipboard::setTransientText(const QString& text)
{
    auto* data = new QMimeData;
    data->setText(text);
    // Klipper, CopyQ and others leave entries with this hint out of their history.
    data->setData(passwordManagerHint, "secret");
    clipboard()->setMimeData(data, QClipboard::Clipboard);
}

std::optional<QString> SystemClipboard::text()
{
    const QMimeData* offer = clipboard()->mimeData(QClipboard::Clipboard);
    if (!offer || !offer->hasText()) {
        return std::nullopt;
    }
    return offer->text();
}

} // namespace vesk::app
