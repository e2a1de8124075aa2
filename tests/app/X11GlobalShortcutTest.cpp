#include "app/platform/x11/X11GlobalShortcut.h"

#include "X11Testing.h"

#include <QSignalSpy>
#include <QTest>
#include <X11/Xlib.h>

namespace vesk::app {
namespace {

using test::keys;

const KeyCombination altG{Qt::Key_G, Qt::AltModifier};
constexpr const char* name = "fixGrammar";

// A second X client, as another program holding keys would be.
using OtherClient = std::unique_ptr<Display, int (*)(Display*)>;
OtherClient otherClient()
{
    return {XOpenDisplay(nullptr), XCloseDisplay};
}

class X11GlobalShortcutTest : public test::X11Test
{
protected:
    void SetUp() override
    {
        X11Test::SetUp();
        if (!IsSkipped()) {
            m_shortcut = std::make_unique<X11GlobalShortcut>();
            m_pressed = std::make_unique<QSignalSpy>(m_shortcut.get(), &GlobalShortcut::pressed);
            m_released = std::make_unique<QSignalSpy>(m_shortcut.get(), &GlobalShortcut::released);
        }
    }
    // Another program, a second X client, asks for Alt+G: it gets it only if none of its variants is held.
    static void expectAnotherProgramGetsAltG()
    {
        const OtherClient other = otherClient();
        X11GlobalShortcut competitor(other.get());
        QString error;
        EXPECT_TRUE(competitor.setShortcut("other", altG, &error)) << error.toStdString();
    }
    // Events reach us through the event loop; a short wait lets the last ones in.
    static void settle() { QTest::qWait(100); }

    std::unique_ptr<X11GlobalShortcut> m_shortcut;
    std::unique_ptr<QSignalSpy> m_pressed;
    std::unique_ptr<QSignalSpy> m_released;
};

// The plain press is the desktop flow's. With Num Lock on it is reported too; with other modifiers it is not,
// nor while paused, when the keys are free for other programs; a held key fires once despite auto-repeat.
TEST_F(X11GlobalShortcutTest, ReportsEachPressOnceWithAnyLockAndNoneWhilePaused)
{
    QString error;
    ASSERT_TRUE(m_shortcut->setShortcut(name, altG, &error)) << error.toStdString();
    keys({"key", "Num_Lock", "alt+g", "Num_Lock"});
    ASSERT_TRUE(QTest::qWaitFor([&] { return m_released->count() == 1; }, 2000)) << "the lock variant is grabbed";
    EXPECT_EQ(m_pressed->count(), 1);
    EXPECT_EQ(m_pressed->at(0).at(0).toString(), name);

    keys({"key", "ctrl+alt+g", "g"});
    m_shortcut->setPaused(true);
    expectAnotherProgramGetsAltG();
    keys({"key", "alt+g"});
    settle();
    EXPECT_EQ(m_pressed->count(), 1) << "other modifiers are another shortcut, and a paused one lets the keys go";

    m_shortcut->setPaused(false);
    keys({"keydown", "alt+g", "sleep", "0.9", "keyup", "g", "keyup", "alt"});
    settle();
    EXPECT_EQ(m_pressed->count(), 2) << "resumed; auto-repeat is no new press";
    EXPECT_EQ(m_released->count(), 2);
}

TEST_F(X11GlobalShortcutTest, KeysHeldByAnotherProgramAreRefusedAndNothingStaysGrabbed)
{
    {
        const OtherClient other = otherClient();
        ASSERT_NE(other, nullptr);
        // Only the Num Lock variant is taken, as a careless program would: our other three grabs succeed and
        // must be undone.
        XGrabKey(other.get(), XKeysymToKeycode(other.get(), 'g'), Mod1Mask | Mod2Mask, DefaultRootWindow(other.get()),
                 False, GrabModeAsync, GrabModeAsync);
        XSync(other.get(), False);
        QString error;
        EXPECT_FALSE(m_shortcut->setShortcut(name, altG, &error));
        EXPECT_EQ(error, "Alt+G is already taken by another program. Choose another shortcut, or free it in that "
                         "program's or your desktop's keyboard settings.");
    }
    // With the first program gone, none of our variants is left behind.
    expectAnotherProgramGetsAltG();
}

} // namespace
} // namespace vesk::app
