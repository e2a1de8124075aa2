#include "app/platform/x11/X11WindowSystem.h"

#include "app/common/Logging.h"
#include "app/platform/PollUntil.h"
#include "app/platform/TerminalKeys.h"
#include "app/platform/x11/X11Display.h"

#include <QTimer>
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace vesk::app {
namespace {

// Source indication 2 marks a request from a pager or a tool acting for the user, which window managers
// honour without their focus-stealing checks.
constexpr long sourceIsPager = 2;

// One property of `window`, or nothing when it is missing or of another type.
QByteArray readProperty(Display* display, Window window, const char* name, Atom type)
{
    const Atom property = XInternAtom(display, name, False);
    Atom actualType = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long remaining = 0;
    unsigned char* data = nullptr;
    QByteArray value;
    if (XGetWindowProperty(display, window, property, 0, 1024, False, type, &actualType, &format, &count, &remaining,
                           &data) == Success &&
        data) {
        if (actualType == type && count > 0) {
            // 32-bit items come as longs on the client side.
            const int itemSize = format == 32 ? int(sizeof(long)) : format / 8;
            value = QByteArray(reinterpret_cast<const char*>(data), int(count) * itemSize);
        }
        XFree(data);
    }
    return value;
}

Window windowProperty(Display* display, Window window, const char* name)
{
    const QByteArray value = readProperty(display, window, name, XA_WINDOW);
    return value.size() >= int(sizeof(long)) ? Window(*reinterpret_cast<const long*>(value.constData())) : 0;
}

bool hasWindowManager(Display* display)
{
    return windowProperty(display, DefaultRootWindow(display), "_NET_SUPPORTING_WM_CHECK") != 0;
}

// Without a window manager's hint, the focus may sit on a child widget: walk up to the window that carries
// WM_CLASS, or to the last one below the root.
Window topLevelOf(Display* display, Window window)
{
    const Window root = DefaultRootWindow(display);
    while (window != 0 && window != root) {
        XClassHint hint{};
        if (XGetClassHint(display, window, &hint)) {
            XFree(hint.res_name);
            XFree(hint.res_class);
            return window;
        }
        Window parent = 0;
        Window treeRoot = 0;
        Window* children = nullptr;
        unsigned count = 0;
        if (!XQueryTree(display, window, &treeRoot, &parent, &children, &count)) {
            return 0;
        }
        if (children) {
            XFree(children);
        }
        if (parent == root) {
            return window;
        }
        window = parent;
    }
    return 0;
}

} // namespace

X11WindowSystem::X11WindowSystem(_XDisplay* display) : m_display(display ? display : qtX11Display()) {}

X11WindowSystem::~X11WindowSystem() = default;

quint64 X11WindowSystem::activeWindowId()
{
    if (!m_display) {
        return 0;
    }
    const Window root = DefaultRootWindow(m_display);
    if (hasWindowManager(m_display)) {
        return windowProperty(m_display, root, "_NET_ACTIVE_WINDOW");
    }
    Window focus = 0;
    int revertTo = 0;
    XGetInputFocus(m_display, &focus, &revertTo);
    if (focus == PointerRoot || focus == None) {
        return 0;
    }
    return topLevelOf(m_display, focus);
}

std::optional<WindowRef> X11WindowSystem::activeWindow()
{
    const quint64 id = activeWindowId();
    return id == 0 ? std::nullopt : describe(id);
}

std::optional<WindowRef> X11WindowSystem::describe(quint64 id)
{
    if (!m_display) {
        return std::nullopt;
    }
    WindowRef window;
    window.id = id;
    // The window may close between the question and the answer; that must not end the program.
    XClassHint hint{};
    bool hasClass = false;
    const int error = withX11ErrorsCaught(m_display, [&] { hasClass = XGetClassHint(m_display, Window(id), &hint); });
    if (error != 0) {
        return std::nullopt;
    }
    if (hasClass) {
        window.windowClass = QString::fromLocal8Bit(hint.res_class);
        const QString instance = QString::fromLocal8Bit(hint.res_name);
        // Some terminals set only the instance part to their name ("st-256color" / "St").
        window.isTerminal = isTerminalClass(window.windowClass) || isTerminalClass(instance);
        if (window.isTerminal && !isTerminalClass(window.windowClass)) {
            window.windowClass = instance;
        }
        window.appName = QString::fromLocal8Bit(hint.res_class);
        XFree(hint.res_name);
        XFree(hint.res_class);
    }
    if (window.appName.isEmpty()) {
        const Atom utf8 = XInternAtom(m_display, "UTF8_STRING", False);
        window.appName = QString::fromUtf8(readProperty(m_display, Window(id), "_NET_WM_NAME", utf8));
    }
    return window;
}

void X11WindowSystem::activate(const WindowRef& window, std::function<void(bool)> done)
{
    if (!m_display) {
        QTimer::singleShot(0, &m_timers, [done = std::move(done)] { done(false); });
        return;
    }
    const Window root = DefaultRootWindow(m_display);
    if (hasWindowManager(m_display)) {
        XEvent event{};
        event.xclient.type = ClientMessage;
        event.xclient.window = Window(window.id);
        event.xclient.message_type = XInternAtom(m_display, "_NET_ACTIVE_WINDOW", False);
        event.xclient.format = 32;
        event.xclient.data.l[0] = sourceIsPager;
        event.xclient.data.l[1] = CurrentTime;
        event.xclient.data.l[2] = 0;
        if (!XSendEvent(m_display, root, False, SubstructureRedirectMask | SubstructureNotifyMask, &event)) {
            qCWarning(lcPlatform) << "Couldn't ask the window manager to activate a window";
        }
    } else {
        // Nothing manages focus: take it directly. A window that is gone or unmapped fails quietly.
        const int error = withX11ErrorsCaught(m_display, [&] {
            XRaiseWindow(m_display, Window(window.id));
            XSetInputFocus(m_display, Window(window.id), RevertToParent, CurrentTime);
        });
        if (error != 0) {
            qCDebug(lcPlatform) << "Couldn't focus the window, X error" << error;
        }
    }
    XFlush(m_display);

    pollUntil(
        &m_timers, pollInterval, activationWait, [this, id = window.id] { return activeWindowId() == id; },
        std::move(done));
}

} // namespace vesk::app
