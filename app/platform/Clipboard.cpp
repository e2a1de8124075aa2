#include "app/platform/Clipboard.h"

#include "app/common/Logging.h"

#include <QElapsedTimer>

namespace vesk::app {

ClipboardContents snapshotWithinBudget(const QStringList& formats, const SnapshotReader& read)
{
    ClipboardContents contents;
    contents.kind = ClipboardContents::Kind::items;
    QElapsedTimer elapsed;
    elapsed.start();
    qsizetype total = 0;
    for (const QString& format : formats) {
        const auto left = snapshotTimeBudget - std::chrono::milliseconds(elapsed.elapsed());
        if (left.count() <= 0) {
            qCInfo(lcPlatform) << "Clipboard snapshot stopped after" << elapsed.elapsed() << "ms;"
                               << formats.size() - contents.formats.size() << "formats not saved";
            break;
        }
        if (const std::optional<QByteArray> data = read(format, left, snapshotSizeBudget - total)) {
            total += data->size();
            contents.formats.append({format, *data});
        }
    }
    if (contents.formats.isEmpty()) {
        contents.kind = ClipboardContents::Kind::empty;
    }
    return contents;
}

bool isPlainText(const QString& format)
{
    return format == QLatin1String("text/plain") || format.startsWith(QLatin1String("text/plain;"));
}

} // namespace vesk::app
