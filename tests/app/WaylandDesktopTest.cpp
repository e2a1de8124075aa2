// The Wayland back end's pure parts: the bind line shown where a desktop won't register shortcuts, and
// what an app id says about the window (which class names are terminals is TerminalKeysTest's).
#include "app/platform/wayland/WaylandPlatform.h"
#include "app/platform/wayland/WaylandWindows.h"

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

TEST(WaylandDesktopTest, AppIdNamesTheTerminalAndTheApp)
{
    const WindowRef gnomeTerminal = WaylandWindows::describe(1, "org.gnome.Terminal");
    EXPECT_TRUE(gnomeTerminal.isTerminal);
    EXPECT_EQ(gnomeTerminal.windowClass, "Terminal");
    EXPECT_TRUE(WaylandWindows::describe(2, "foot").isTerminal);
    const WindowRef mousepad = WaylandWindows::describe(4, "org.xfce.mousepad");
    EXPECT_FALSE(mousepad.isTerminal);
    EXPECT_EQ(mousepad.appName, "Mousepad");
    EXPECT_EQ(mousepad.windowClass, "org.xfce.mousepad");
}

} // namespace
} // namespace vesk::app
