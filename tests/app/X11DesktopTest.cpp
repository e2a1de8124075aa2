#include "X11Testing.h"
#include "app/platform/Platform.h"
#include "app/platform/x11/X11Display.h"
#include "app/platform/x11/X11InputSynthesizer.h"
#include "app/platform/x11/X11WindowSystem.h"

#include <QElapsedTimer>
#include <QScopeGuard>
#include <QTest>
#include <QTimer>
#include <X11/Xlib.h>
#include <X11/keysym.h>

namespace vesk::app {
namespace {

// Select, copy and paste through an editor's keys and focus given back are the desktop flow's; here, the rest.
using X11PlatformTest = test::X11Test;

// History records the application by the name on its window's class (GTK's "Mousepad", not "mousepad").
TEST_F(X11PlatformTest, DescribesTheActiveApplicationByItsClassName)
{
    QProcess editor;
    editor.start("mousepad", {"--disable-server"});
    const auto stop = qScopeGuard([&] { editor.kill(), editor.waitForFinished(2000); });
    X11WindowSystem windows;
    std::optional<WindowRef> active;
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return (active = windows.activeWindow()) && active->windowClass == "Mousepad"; }, 10000))
        << "the editor's window never became active";
    EXPECT_EQ(active->appName, "Mousepad");
}

// The copy waits until the user lets go of the shortcut's modifiers; one held too long is released, so the copy
// is not a Ctrl+Alt+C that copies nothing.
TEST_F(X11PlatformTest, CopiesOnceTheModifiersAreUp)
{
    X11InputSynthesizer input;
    const auto readyAfter = [&input] {
        bool ready = false;
        QElapsedTimer elapsed;
        elapsed.start();
        input.whenModifiersReleased([&] { ready = true; });
        EXPECT_TRUE(QTest::qWaitFor([&] { return ready; }, 2000));
        return elapsed.elapsed();
    };
    const auto altDown = [] {
        Display* display = qtX11Display();
        char keys[32] = {};
        XQueryKeymap(display, keys);
        const KeyCode keycode = XKeysymToKeycode(display, XK_Alt_L);
        return (keys[keycode / 8] & (1 << (keycode % 8))) != 0;
    };
    test::keys({"keydown", "alt"});
    QTimer::singleShot(100, [] { QProcess::startDetached("xdotool", {"keyup", "alt"}); });
    const qint64 released = readyAfter();
    EXPECT_GE(released, 90);
    EXPECT_LT(released, X11InputSynthesizer::modifierWait.count()) << "ready soon after the release";

    test::keys({"keydown", "alt"});
    ASSERT_TRUE(altDown());
    EXPECT_GE(readyAfter(), X11InputSynthesizer::modifierWait.count());
    EXPECT_FALSE(altDown()) << "released on the X server, for every client";
}

// The desktop of these tests runs openbox, which does not composite: the review panel must then round its
// corners with a mask instead of see-through areas that would come out black.
TEST_F(X11PlatformTest, FactoryPicksX11AndSeesThatNoCompositorRuns)
{
    const std::unique_ptr<Platform> platform = createPlatform();
    EXPECT_TRUE(platform->limitation.isEmpty()) << platform->limitation.toStdString();
    EXPECT_FALSE(platform->appearance->composites());
}

} // namespace
} // namespace vesk::app
