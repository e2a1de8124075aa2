// Holds the clipboard the way a desktop program does after a copy, offering several formats at once
// (which xclip cannot), so the end-to-end tests know exactly what the user had on the clipboard.
//
//   vesk_clipboard_owner [--text TEXT] [--html HTML] [--png FILE]
//
// Serves the clipboard until terminated.
#include <QClipboard>
#include <QFile>
#include <QGuiApplication>
#include <QMimeData>
#include <cstdio>

int main(int argc, char** argv)
{
    QGuiApplication application(argc, argv);
    auto* data = new QMimeData;
    const QStringList args = QGuiApplication::arguments();
    for (qsizetype i = 1; i + 1 < args.size(); i += 2) {
        const QString& option = args[i];
        const QString& value = args[i + 1];
        if (option == QLatin1String("--text")) {
            data->setText(value);
        } else if (option == QLatin1String("--html")) {
            data->setHtml(value);
        } else if (option == QLatin1String("--png")) {
            QFile file(value);
            if (!file.open(QIODevice::ReadOnly)) {
                std::fprintf(stderr, "can't read %s\n", qPrintable(value));
                return 2;
            }
            // The file's own bytes, as an image editor offers them; no re-encoding.
            data->setData(QStringLiteral("image/png"), file.readAll());
        } else {
            std::fprintf(stderr, "unknown option %s\n", qPrintable(option));
            return 2;
        }
    }
    QGuiApplication::clipboard()->setMimeData(data, QClipboard::Clipboard);
    return QGuiApplication::exec();
}
