#include "app/platform/LimitedPlatform.h"

#include "app/common/Logging.h"
#include "app/platform/RefusingGlobalShortcut.h"
#include "app/platform/SystemClipboard.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QTimer>

namespace vesk::app {

namespace {

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

// Wayland compositors always composite; a headless (offscreen) run has no compositor to ask.
class LimitedAppearance : public DesktopAppearance
{
public:
    bool composites() override { return QGuiApplication::platformName() != QLatin1String("offscreen"); }
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

std::unique_ptr<Platform> createLimitedPlatform()
{
    auto platform = std::make_unique<Platform>();
    platform->limitation = limitationFor(QGuiApplication::platformName());
    qCInfo(lcPlatform) << "Limited platform:" << platform->limitation;
    platform->shortcut = std::make_unique<RefusingGlobalShortcut>(
        [reason = platform->limitation](const KeyCombination&) { return reason; });
    platform->input = std::make_unique<LimitedInputSynthesizer>();
    platform->windows = std::make_unique<LimitedWindowSystem>();
    platform->clipboard = std::make_unique<SystemClipboard>();
    platform->appearance = std::make_unique<LimitedAppearance>();
    return platform;
}

} // namespace vesk::app
