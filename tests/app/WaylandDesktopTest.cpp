// The Wayland back end's pure parts: the bind line shown where a desktop won't register shortcuts, sway's
// binding events read from its IPC stream, and what an app id (or KWin's names) says about the window (which
// class names are terminals is TerminalKeysTest's).
#include "app/platform/wayland/KWinWindows.h"
#include "app/platform/wayland/SwayBindingShortcut.h"
#include "app/platform/wayland/WaylandPlatform.h"
#include "app/platform/wayland/WaylandWindows.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

TEST(WaylandDesktopTest, BindLineUsesEachCompositorsOwnKeyNames)
{
    const KeyCombination altG{Qt::Key_G, Qt::AltModifier};
    const KeyCombination superShiftF2{Qt::Key_F2, Qt::MetaModifier | Qt::ShiftModifier};
    EXPECT_TRUE(compositorBindInstructions("sway", altG).endsWith("\nbindsym Mod1+g exec vesk fix"));
    EXPECT_TRUE(compositorBindInstructions("sway", superShiftF2).endsWith("\nbindsym Mod4+Shift+F2 exec vesk fix"));
    EXPECT_TRUE(compositorBindInstructions("Hyprland", altG).endsWith("\nbind = ALT, g, exec, vesk fix"));
    EXPECT_TRUE(compositorBindInstructions("ubuntu:GNOME", altG).contains("\"vesk fix\" and the keys Alt+G"));
    EXPECT_TRUE(compositorBindInstructions("", altG).contains("Bind Alt+G to the command \"vesk fix\""));
}

TEST(WaylandDesktopTest, SwayBindingRunsVeskFixWhateverTheExecLooksLike)
{
    for (const char* command : {"exec vesk fix", "exec --no-startup-id /usr/local/bin/vesk fix",
                                "exec env XDG_RUNTIME_DIR=/run/user/1000 '/opt/my apps/vesk' fix",
                                "mode default; EXEC \"vesk\" fix"}) {
        EXPECT_TRUE(SwayBindingShortcut::runsVeskFix(command)) << command;
    }
    for (const char* command : {"exec vesk fixup", "exec vesk correct", "exec notvesk fix", "exec 'vesk fix'",
                                "exec vesk fix --now", "vesk fix", "exec vesk; exec fix"}) {
        EXPECT_FALSE(SwayBindingShortcut::runsVeskFix(command)) << command;
    }
}

TEST(WaylandDesktopTest, SwayBindingEventIsThePressAndClaimsTheFixRequestItStarted)
{
    SwayBindingShortcut shortcut([](const KeyCombination&) { return QString(); }, QString());
    shortcut.setShortcut("fixGrammar", std::nullopt, nullptr);
    QSignalSpy released(&shortcut, &GlobalShortcut::released);
    const auto binding = [](const char* command) {
        return SwayBindingShortcut::encode(
            {SwayBindingShortcut::bindingEvent,
             QByteArray(R"({"change":"run","binding":{"command":")") + command + R"(","symbol":"g"}})"});
    };
    const QByteArray fix = binding("exec vesk fix");
    // A frame split over three reads, then one read with a frame of another binding and a whole one.
    shortcut.receive(fix.left(4));
    shortcut.receive(fix.mid(4, 10));
    EXPECT_EQ(released.count(), 0);
    shortcut.receive(fix.mid(14) + binding("exec foot") + fix);
    EXPECT_EQ(released.count(), 2);
    EXPECT_TRUE(shortcut.claimFixRequest());
    EXPECT_TRUE(shortcut.claimFixRequest());
    EXPECT_FALSE(shortcut.claimFixRequest()) << "a `vesk fix` of the user's own starts a correction";

    // With sway listening, a request before any press waits for sway's answer to a question asked then: a
    // binding event ahead of the answer is its press, none makes it the user's own. Either way, one press.
    shortcut.receive(SwayBindingShortcut::encode({SwayBindingShortcut::subscribeType, R"({"success":true})"}));
    const QByteArray answer = SwayBindingShortcut::encode({SwayBindingShortcut::versionType, "{}"});
    EXPECT_TRUE(shortcut.claimFixRequest());
    EXPECT_TRUE(shortcut.claimFixRequest());
    shortcut.receive(fix);
    EXPECT_EQ(released.count(), 3);
    shortcut.receive(answer + answer);
    EXPECT_EQ(released.count(), 4);
    EXPECT_TRUE(shortcut.claimFixRequest());
    shortcut.receive(answer + fix);
    EXPECT_EQ(released.count(), 6) << "a binding after the answer is a press of its own";
    EXPECT_TRUE(shortcut.claimFixRequest()) << "which its request then finds";

    for (QByteArray corrupt : {QByteArray("i3-ipX"), SwayBindingShortcut::encode({2, QByteArray(2 << 20, ' ')})}) {
        bool isCorrupt = false;
        EXPECT_FALSE(SwayBindingShortcut::takeFrame(corrupt, isCorrupt));
        EXPECT_TRUE(isCorrupt) << corrupt.left(6).toStdString();
    }
}

TEST(WaylandDesktopTest, AppIdNamesTheTerminalAndTheApp)
{
    const WindowRef gnomeTerminal = WaylandWindows::describe(1, "org.gnome.Terminal");
    EXPECT_TRUE(gnomeTerminal.isTerminal);
    EXPECT_EQ(gnomeTerminal.windowClass, "Terminal");
    const WindowRef mousepad = WaylandWindows::describe(4, "org.xfce.mousepad");
    EXPECT_FALSE(mousepad.isTerminal);
    EXPECT_EQ(mousepad.appName, "Mousepad");
    EXPECT_EQ(mousepad.windowClass, "org.xfce.mousepad");
}

// KWin names a window by desktop file and resource class; a terminal is known by either.
TEST(WaylandDesktopTest, KWinWindowIsATerminalByEitherName)
{
    EXPECT_EQ(KWinWindows::appIdOf("org.kde.konsole", "konsole"), "org.kde.konsole");
    EXPECT_EQ(KWinWindows::appIdOf("", "xterm"), "xterm");
    EXPECT_EQ(KWinWindows::appIdOf("my-shell", "foot"), "foot");
    EXPECT_EQ(KWinWindows::appIdOf("org.xfce.mousepad", "mousepad"), "org.xfce.mousepad");
}

} // namespace
} // namespace vesk::app
