// The Wayland end-to-end tests' hands, built on Vesk's own protocol clients:
//
//   vesk_wayland_tool serve IN OUT            one keyboard for many presses: reads lines of strokes ("ctrl+a
//                                             alt+g") from the FIFO IN, presses each in turn, answers "ok" or
//                                             "failed" on the FIFO OUT
//   vesk_wayland_tool own [--text T] [--html H] [--png FILE]
//                                             holds the clipboard with those formats until terminated
//   vesk_wayland_tool click X Y WIDTH HEIGHT N
//                                             clicks the left button N times at X,Y of a WIDTHxHEIGHT output
//                                             layout, through a virtual pointer (wlroots desktops)
//
// Keys go through a virtual keyboard with the seat's keymap, as a keyboard would send them; the clipboard
// is offered through data-control, which (unlike Qt's clipboard) needs no focused window.
#include "app/platform/wayland/WaylandClipboard.h"
#include "app/platform/wayland/WaylandConnection.h"
#include "app/platform/wayland/WaylandKeyboard.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QKeySequence>
#include <QThread>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <linux/input-event-codes.h>
#include <wayland-client.h>

#include "wlr-virtual-pointer-unstable-v1-client.h"

using namespace vesk::app;

namespace {

std::optional<KeyCombination> parseStroke(const QString& stroke)
{
    const QKeySequence sequence = QKeySequence::fromString(stroke, QKeySequence::PortableText);
    if (sequence.count() != 1) {
        return std::nullopt;
    }
    const QKeyCombination combination = sequence[0];
    return KeyCombination{combination.key(), combination.keyboardModifiers()};
}

// Whether the keyboard is ready for keys.
bool waitForKeyboard(WaylandKeyboard& keyboard, const std::shared_ptr<WaylandConnection>& connection)
{
    // Through the RemoteDesktop portal the keyboard is there once the desktop has granted the session.
    QElapsedTimer waited;
    waited.start();
    while (keyboard.mayPostInput() && !keyboard.canPostInput() && waited.elapsed() < 10000) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
    }
    if (!keyboard.canPostInput()) {
        std::fprintf(stderr, "the desktop offers no virtual keyboard and no remote desktop session\n");
        return false;
    }
    // A keyboard that has just been made loses its first keys; KWin's device behind a new remote desktop
    // session takes longer to be ready.
    QThread::msleep(connection->virtualKeyboards() != nullptr ? 150 : 500);
    return true;
}

bool press(WaylandKeyboard& keyboard, const std::shared_ptr<WaylandConnection>& connection, const QStringList& strokes)
{
    for (const QString& stroke : strokes) {
        const std::optional<KeyCombination> keys = parseStroke(stroke);
        if (!keys || !keyboard.postKeys(*keys)) {
            std::fprintf(stderr, "can't press %s\n", qPrintable(stroke));
            return false;
        }
        while (keyboard.isSending()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
        }
        connection->roundTrip();
        QThread::msleep(30);
    }
    return true;
}

// KWin loses modifiers when remote desktop sessions come and go between strokes, so the tests keep one.
int serveKeys(const std::shared_ptr<WaylandConnection>& connection, const QString& in, const QString& out)
{
    WaylandKeyboard keyboard(connection);
    if (!waitForKeyboard(keyboard, connection)) {
        return 2;
    }
    for (;;) {
        QFile requests(in);
        if (!requests.open(QIODevice::ReadOnly)) {
            return 2;
        }
        const QStringList lines = QString::fromUtf8(requests.readAll()).split(u'\n', Qt::SkipEmptyParts);
        bool pressed = true;
        for (const QString& line : lines) {
            pressed = press(keyboard, connection, line.split(u' ', Qt::SkipEmptyParts)) && pressed;
        }
        QFile answer(out);
        if (!answer.open(QIODevice::WriteOnly)) {
            return 2;
        }
        answer.write(pressed ? "ok\n" : "failed\n");
    }
}

int ownClipboard(const std::shared_ptr<WaylandConnection>& connection, const QStringList& args)
{
    WaylandClipboard clipboard(connection);
    if (!clipboard.isAvailable()) {
        std::fprintf(stderr, "the compositor offers no data-control\n");
        return 2;
    }
    ClipboardContents contents;
    contents.kind = ClipboardContents::Kind::items;
    for (qsizetype i = 0; i + 1 < args.size(); i += 2) {
        if (args[i] == QLatin1String("--text")) {
            contents.formats.append({QStringLiteral("text/plain;charset=utf-8"), args[i + 1].toUtf8()});
            contents.formats.append({QStringLiteral("text/plain"), args[i + 1].toUtf8()});
        } else if (args[i] == QLatin1String("--html")) {
            contents.formats.append({QStringLiteral("text/html"), args[i + 1].toUtf8()});
        } else if (args[i] == QLatin1String("--png")) {
            QFile file(args[i + 1]);
            if (!file.open(QIODevice::ReadOnly)) {
                std::fprintf(stderr, "can't read %s\n", qPrintable(args[i + 1]));
                return 2;
            }
            contents.formats.append({QStringLiteral("image/png"), file.readAll()});
        } else {
            std::fprintf(stderr, "unknown option %s\n", qPrintable(args[i]));
            return 2;
        }
    }
    clipboard.restore(contents);
    // Serves readers until another program takes the clipboard or this one is terminated.
    QObject::connect(&clipboard, &Clipboard::changed, qApp, &QCoreApplication::quit);
    return QCoreApplication::exec();
}

std::uint32_t nowMs()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint32_t>(now.tv_sec * 1000 + now.tv_nsec / 1000000);
}

// A pointer of its own for each run: the seat gains a pointer when it is made, and the program under it is
// told so before the clicks come.
int click(const QStringList& args)
{
    wl_display* display = wl_display_connect(nullptr);
    zwlr_virtual_pointer_manager_v1* manager = nullptr;
    const wl_registry_listener listener{
        [](void* data, wl_registry* registry, std::uint32_t name, const char* interface, std::uint32_t) {
            if (std::strcmp(interface, zwlr_virtual_pointer_manager_v1_interface.name) == 0) {
                *static_cast<zwlr_virtual_pointer_manager_v1**>(data) = static_cast<zwlr_virtual_pointer_manager_v1*>(
                    wl_registry_bind(registry, name, &zwlr_virtual_pointer_manager_v1_interface, 1));
            }
        },
        [](void*, wl_registry*, std::uint32_t) {},
    };
    if (display == nullptr) {
        return 2;
    }
    wl_registry_add_listener(wl_display_get_registry(display), &listener, &manager);
    wl_display_roundtrip(display);
    if (manager == nullptr) {
        std::fprintf(stderr, "the compositor offers no virtual pointer\n");
        return 2;
    }
    zwlr_virtual_pointer_v1* pointer = zwlr_virtual_pointer_manager_v1_create_virtual_pointer(manager, nullptr);
    const auto moveTo = [&] {
        zwlr_virtual_pointer_v1_motion_absolute(pointer, nowMs(), args[0].toUInt(), args[1].toUInt(),
                                                args[2].toUInt(), args[3].toUInt());
        zwlr_virtual_pointer_v1_frame(pointer);
        wl_display_roundtrip(display);
    };
    moveTo();
    QThread::msleep(200);
    moveTo();
    for (int i = 0; i < args[4].toInt(); ++i) {
        for (const auto state : {WL_POINTER_BUTTON_STATE_PRESSED, WL_POINTER_BUTTON_STATE_RELEASED}) {
            zwlr_virtual_pointer_v1_button(pointer, nowMs(), BTN_LEFT, state);
            zwlr_virtual_pointer_v1_frame(pointer);
            wl_display_roundtrip(display);
        }
        QThread::msleep(60);
    }
    wl_display_disconnect(display);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList args = QCoreApplication::arguments().mid(1);
    if (args.value(0) == QLatin1String("click") && args.size() == 6) {
        return click(args.mid(1));
    }
    const std::shared_ptr<WaylandConnection> connection = WaylandConnection::connect();
    if (!connection) {
        std::fprintf(stderr, "no Wayland compositor\n");
        return 2;
    }
    if (args.value(0) == QLatin1String("serve") && args.size() == 3) {
        return serveKeys(connection, args[1], args[2]);
    }
    if (args.value(0) == QLatin1String("own")) {
        return ownClipboard(connection, args.mid(1));
    }
    std::fprintf(stderr, "usage: vesk_wayland_tool serve IN OUT | own [--text T] [--html H] [--png FILE] | "
                 "click X Y WIDTH HEIGHT N\n");
    return 2;
}
