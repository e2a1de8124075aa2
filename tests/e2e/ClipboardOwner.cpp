// Holds the clipboard as a desktop program does after a copy, offering several formats at once (which
// xclip and wl-copy cannot), so the end-to-end tests know exactly what the user had on the clipboard. On
// Wayland it offers them through Vesk's data-control client, which (unlike Qt's clipboard) needs no focused
// window.
//
//   vesk_clipboard_owner [--text TEXT] [--html HTML] [--png FILE]
//
// Serves the clipboard until terminated.
#include "app/platform/SystemClipboard.h"
#ifdef VESK_E2E_WAYLAND
#include "app/platform/wayland/WaylandClipboard.h"
#include "app/platform/wayland/WaylandConnection.h"
#endif

#include <QFile>
#include <QGuiApplication>
#include <cstdio>

using namespace vesk::app;

int main(int argc, char** argv)
{
    QGuiApplication application(argc, argv);
    ClipboardContents contents;
    contents.kind = ClipboardContents::Kind::items;
    const QStringList args = QGuiApplication::arguments();
    for (qsizetype i = 1; i + 1 < args.size(); i += 2) {
        QFile png(args[i + 1]);
        if (args[i] == QLatin1String("--text")) {
            contents.formats.append({QStringLiteral("text/plain;charset=utf-8"), args[i + 1].toUtf8()});
            contents.formats.append({QStringLiteral("text/plain"), args[i + 1].toUtf8()});
        } else if (args[i] == QLatin1String("--html")) {
            contents.formats.append({QStringLiteral("text/html"), args[i + 1].toUtf8()});
        } else if (args[i] == QLatin1String("--png") && png.open(QIODevice::ReadOnly)) {
            contents.formats.append({QStringLiteral("image/png"), png.readAll()});
        } else {
            std::fprintf(stderr, "can't use %s %s\n", qPrintable(args[i]), qPrintable(args[i + 1]));
            return 2;
        }
    }
    std::unique_ptr<Clipboard> clipboard = std::make_unique<SystemClipboard>();
#ifdef VESK_E2E_WAYLAND
    if (QGuiApplication::platformName() == QLatin1String("wayland")) {
        auto wayland = std::make_unique<WaylandClipboard>(WaylandConnection::connect());
        if (!wayland->isAvailable()) {
            std::fprintf(stderr, "the compositor offers no data-control\n");
            return 2;
        }
        clipboard = std::move(wayland);
    }
#endif
    clipboard->restore(contents);
    return QGuiApplication::exec();
}
