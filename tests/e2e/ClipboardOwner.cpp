// Holds the clipboard the way a desktop program does after a copy, offering several formats at once
// (which xclip cannot), so the end-to-end tests know exactly what the user had on the clipboard.
//
//   vesk_clipboard_owner [--text TEXT] [--html HTML]
//
// Serves the clipboard until terminated.
#include <QClipboard>
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
        } else {
            std::fprintf(stderr, "unknown option %s\n", qPrintable(option));
            return 2;
        }
    }
    QGuiApplication::clipboard()->setMimeData(data, QClipboard::Clipboard);
    return QGuiApplication::exec();
}
