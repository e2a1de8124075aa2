#include "app/platform/x11/X11Display.h"

#include <QGuiApplication>
#include <X11/Xlib.h>

namespace vesk::app {
namespace {

int g_firstError = 0;
XErrorHandler g_previousHandler = nullptr;

int recordError(Display*, XErrorEvent* event)
{
    if (g_firstError == 0) {
        g_firstError = event->error_code;
    }
    return 0;
}

} // namespace

_XDisplay* qtX11Display()
{
    auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
    if (!app || QGuiApplication::platformName() != QLatin1String("xcb")) {
        return nullptr;
    }
    auto* x11 = app->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->display() : nullptr;
}

namespace x11detail {

void beginCatchingErrors(_XDisplay* display)
{
    // Errors of earlier requests belong to whoever made them, not to the requests about to be checked.
    XSync(display, False);
    g_firstError = 0;
    g_previousHandler = XSetErrorHandler(recordError);
}

int endCatchingErrors(_XDisplay* display)
{
    XSync(display, False);
    XSetErrorHandler(g_previousHandler);
    g_previousHandler = nullptr;
    return g_firstError;
}

} // namespace x11detail
} // namespace vesk::app
