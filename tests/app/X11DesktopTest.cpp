#include "X11Testing.h"
#include "app/platform/Platform.h"
#include "app/platform/SystemClipboard.h"
#include "app/platform/x11/X11Display.h"
#include "app/platform/x11/X11InputSynthesizer.h"
#include "app/platform/x11/X11WindowSystem.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>
#include <X11/Xlib.h>
#include <X11/keysym.h>

namespace vesk::app {
namespace {

constexpr const char* editorText = "Teh quick brown fox jumsp over the lazy dog.";

// Mousepad, a GTK editor, stands for the application the user is writing in. It starts once for the suite.
class X11DesktopTest : public test::X11Test
{
protected:
    static void TearDownTestSuite()
    {
        if (s_editor) {
            s_editor->kill();
            s_editor->waitForFinished(2000);
            s_editor.reset();
        }
        s_files.reset();
    }

    void SetUp() override
    {
        X11Test::SetUp();
        if (IsSkipped()) {
            return;
        }
        if (!s_editor) {
            s_files = std::make_unique<QTemporaryDir>();
            QFile file(s_files->filePath("draft.txt"));
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(editorText);
            file.close();
            s_editor = std::make_unique<QProcess>();
            s_editor->start("mousepad", {file.fileName()});
            ASSERT_TRUE(s_editor->waitForStarted(5000));
        }
        std::optional<WindowRef> active;
        ASSERT_TRUE(QTest::qWaitFor(
            [&] {
                active = m_windows.activeWindow();
                return active && active->windowClass == "Mousepad";
            },
            10000))
            << "the editor's window never became active";
        m_editor = *active;
    }

    // Posts a stroke to the editor and waits for the clipboard to change.
    bool copyFromEditor()
    {
        const quint64 before = m_clipboard.changeCount();
        if (!m_input.post(Keystroke::copy, m_editor)) {
            return false;
        }
        return QTest::qWaitFor([&] { return m_clipboard.changeCount() != before; }, 2000);
    }

    static bool isKeyDown(KeySym keysym)
    {
        Display* display = qtX11Display();
        char keys[32] = {};
        XQueryKeymap(display, keys);
        const KeyCode keycode = XKeysymToKeycode(display, keysym);
        return keys[keycode / 8] & (1 << (keycode % 8));
    }

    static inline std::unique_ptr<QProcess> s_editor;
    static inline std::unique_ptr<QTemporaryDir> s_files;
    X11WindowSystem m_windows;
    X11InputSynthesizer m_input;
    SystemClipboard m_clipboard;
    WindowRef m_editor;
};

TEST_F(X11DesktopTest, DescribesTheFocusedApplicationAndGivesFocusBackToIt)
{
    EXPECT_EQ(m_editor.appName, "Mousepad");
    EXPECT_FALSE(m_editor.isTerminal);
    QWidget ours;
    ours.setWindowTitle("Vesk test window");
    ours.resize(200, 100);
    ours.show();
    ours.activateWindow();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            const auto active = m_windows.activeWindow();
            return active && active->id != m_editor.id;
        },
        3000));

    std::optional<bool> activated;
    QElapsedTimer elapsed;
    elapsed.start();
    m_windows.activate(m_editor, [&](bool ok) { activated = ok; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return activated.has_value(); }, 2000));
    EXPECT_TRUE(*activated);
    EXPECT_LE(elapsed.elapsed(), X11WindowSystem::activationWait.count() + 100);
    EXPECT_EQ(m_windows.activeWindow(), m_editor);
}

TEST_F(X11DesktopTest, SelectsCopiesAndPastesThroughTheApplicationsKeys)
{
    ASSERT_TRUE(m_input.post(Keystroke::selectAll, m_editor));
    ASSERT_TRUE(copyFromEditor());
    EXPECT_EQ(m_clipboard.text(), editorText);

    m_clipboard.setTransientText("The corrected sentence.");
    ASSERT_TRUE(m_input.post(Keystroke::paste, m_editor));
    QTest::qWait(150); // the editor fetches the text from us after the keystroke
    ASSERT_TRUE(m_input.post(Keystroke::selectAll, m_editor));
    ASSERT_TRUE(copyFromEditor());
    EXPECT_EQ(m_clipboard.text(), "The corrected sentence.");

    // Put the draft back for the other tests.
    m_clipboard.setTransientText(editorText);
    ASSERT_TRUE(m_input.post(Keystroke::selectAll, m_editor));
    ASSERT_TRUE(m_input.post(Keystroke::paste, m_editor));
    QTest::qWait(150);
}

// The copy waits until the user lets go of the shortcut's modifiers; one held too long is released, so the copy
// is not a Ctrl+Alt+C that copies nothing.
TEST_F(X11DesktopTest, CopiesOnceTheModifiersAreUp)
{
    const auto readyAfter = [this] {
        bool ready = false;
        QElapsedTimer elapsed;
        elapsed.start();
        m_input.whenModifiersReleased([&] { ready = true; });
        EXPECT_TRUE(QTest::qWaitFor([&] { return ready; }, 2000));
        return elapsed.elapsed();
    };
    test::keys({"keydown", "alt"});
    QTimer::singleShot(100, [] { QProcess::startDetached("xdotool", {"keyup", "alt"}); });
    const qint64 released = readyAfter();
    EXPECT_GE(released, 90);
    EXPECT_LT(released, X11InputSynthesizer::modifierWait.count()) << "ready soon after the release";

    m_clipboard.setTransientText("unrelated");
    test::keys({"keydown", "alt"});
    ASSERT_TRUE(isKeyDown(XK_Alt_L));
    EXPECT_GE(readyAfter(), X11InputSynthesizer::modifierWait.count());
    EXPECT_FALSE(isKeyDown(XK_Alt_L));
    ASSERT_TRUE(m_input.post(Keystroke::selectAll, m_editor));
    ASSERT_TRUE(copyFromEditor());
    EXPECT_EQ(m_clipboard.text(), editorText);
}

using X11PlatformTest = test::X11Test;

// The desktop of these tests runs openbox, which does not composite: the review panel must then round its
// corners with a mask instead of see-through areas that would come out black.
TEST_F(X11PlatformTest, FactoryPicksX11AndSeesThatNoCompositorRuns)
{
    const std::unique_ptr<Platform> platform = createPlatform();
    EXPECT_TRUE(platform->input->canPostInput());
    EXPECT_TRUE(platform->limitation.isEmpty()) << platform->limitation.toStdString();
    EXPECT_FALSE(platform->appearance->composites());
}

} // namespace
} // namespace vesk::app
