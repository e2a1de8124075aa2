#include "app/platform/Platform.h"

#include "app/common/Logging.h"
#include "app/platform/SystemClipboard.h"
#include "app/platform/x11/X11Display.h"
#include "app/platform/x11/X11GlobalShortcut.h"
#include "app/platform/x11/X11InputSynthesizer.h"
#include "app/platform/x11/X11WindowSystem.h"
#ifdef VESK_HAVE_WAYLAND
#include "app/platform/wayland/WaylandPlatform.h"
#endif

#include <QCoreApplication>
#include <QGuiApplication>
#include <QTimer>
#include <X11/Xlib.h>

namespace vesk::app {


namespace {

// Sessions where Vesk cannot grab keys or post input (Wayland, a headless run): everything says why.
class LimitedGlobalShortcut : public GlobalShortcut
{
public:
    explicit LimitedGlobalShortcut(QString reason) : m_reason(std::move(reason)) {}

    bool setShortcut(const QString&, const std::optional<KeyCombination>& combination, QString* error) override
    {
        if (!combination) {
            return true;
        }
        if (error) {
            *error = m_reason;
        }
        return false;
    }
    void setPaused(bool) override {}

private:
    QString m_reason;
};

class LimitedInputSynthesizer : public InputSynthesizer
{
public:
    bool canPostInput() const override { return false; }
    void whenModifiersReleased(std::function<void()> ready) override
    {
        QTimer::singleShot(0, QCoreApplication::instance(), std::move(ready));
    }
    bool post(Keystroke, const std::optional<WindowRef>&) override { return false; }
};

class LimitedWindowSystem : public WindowSystem
{
public:
    std::optional<WindowRef> activeWindow() override { return std::nullopt; }
    void activate(const WindowRef&, std::function<void(bool)> done) override
    {
        QTimer::singleShot(0, QCoreApplication::instance(), [done = std::move(done)] { done(false); });
    }
};

QString limitationFor(const QString& platformName)
{
    if (isWaylandSession()) {
        return QStringLiteral("Vesk can't send keystrokes to other apps in a Wayland session, so it can't copy the "
                              "selection or paste the correction there. Write (in the tray menu) and `vesk correct` "
                              "still work; an X11 session brings corrections in place.");
    }
    return QStringLiteral("Vesk can't send keystrokes to other apps without an X11 display (Qt platform \"%1\").")
        .arg(platformName);
}

} // namespace

bool isWaylandSession()
{
    // Under XWayland Qt may well run on xcb, yet other apps are Wayland clients that XTest cannot reach.
    return QGuiApplication::platformName() == QLatin1String("wayland") ||
           qEnvironmentVariableIsSet("WAYLAND_DISPLAY") ||
           qEnvironmentVariable("XDG_SESSION_TYPE") == QLatin1String("wayland");
}

bool desktopComposites()
{
    _XDisplay* display = qtX11Display();
    if (display == nullptr) {
        return QGuiApplication::platformName() != QLatin1String("offscreen");
    }
    // A compositing manager owns the _NET_WM_CM_S<screen> selection while it runs.
    const QByteArray name = "_NET_WM_CM_S" + QByteArray::number(DefaultScreen(display));
    const Atom selection = XInternAtom(display, name.constData(), False);
    return XGetSelectionOwner(display, selection) != None;
}

std::unique_ptr<Platform> createPlatform()
{
#ifdef VESK_HAVE_WAYLAND
    if (isWaylandSession()) {
        if (auto platform = createWaylandPlatform()) {
            return platform;
        }
    }
#endif
    auto platform = std::make_unique<Platform>();
    platform->clipboard = std::make_unique<SystemClipboard>();
    if (_XDisplay* display = qtX11Display()) {
        platform->shortcut = std::make_unique<X11GlobalShortcut>(display);
        auto input = std::make_unique<X11InputSynthesizer>(display);
        if (!input->canPostInput()) {
            platform->limitation = QStringLiteral("The X server doesn't offer the XTest extension, so Vesk can't "
                                                  "send keystrokes to other apps.");
        }
        platform->input = std::move(input);
        platform->windows = std::make_unique<X11WindowSystem>(display);
        return platform;
    }
    platform->limitation = limitationFor(QGuiApplication::platformName());
    qCInfo(lcPlatform) << "Limited platform:" << platform->limitation;
    platform->shortcut = std::make_unique<LimitedGlobalShortcut>(platform->limitation);
    platform->input = std::make_unique<LimitedInputSynthesizer>();
    platform->windows = std::make_unique<LimitedWindowSystem>();
    return platform;
}

} // namespace vesk::app
