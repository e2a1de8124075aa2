#include "app/models/ShortcutRecorder.h"

#include "app/services/ShortcutSettings.h"
#include "support/SettingsFile.h"
#include "support/fake/FakePlatform.h"

#include <gtest/gtest.h>

namespace vesk::app {
namespace {

class ShortcutRecorderTest : public ::testing::Test
{
protected:
    test::SettingsFile m_file;
    FakeGlobalShortcut m_platform;
    ShortcutSettings m_settings{m_file.open(), &m_platform};
    ShortcutRecorder m_recorder{m_settings, ShortcutSettings::fixGrammar};
};

TEST_F(ShortcutRecorderTest, RecordsANewShortcutAndPausesWhileListening)
{
    m_recorder.start();
    EXPECT_TRUE(m_platform.isPaused()) << "pressing the current shortcut must record it, not fire it";

    m_recorder.keyPressed(Qt::Key_Control, Qt::ControlModifier); // a modifier alone waits for a key
    EXPECT_TRUE(m_recorder.isRecording());
    m_recorder.keyPressed(Qt::Key_E, Qt::ControlModifier | Qt::AltModifier);
    EXPECT_FALSE(m_recorder.isRecording());
    EXPECT_FALSE(m_platform.isPaused());
    EXPECT_EQ(m_recorder.shortcutText(), "Ctrl+Alt+E");
    EXPECT_EQ(m_recorder.error(), "");
}

// Which keys are refused, and why, is the settings' business; the recorder shows the reason until the next try.
TEST_F(ShortcutRecorderTest, RefusalKeepsTheCurrentShortcutAndSaysWhyUntilTheNextAttempt)
{
    m_platform.setTaken(KeyCombination{Qt::Key_K, Qt::MetaModifier});
    m_recorder.start();
    m_recorder.keyPressed(Qt::Key_K, Qt::MetaModifier);
    EXPECT_FALSE(m_recorder.error().isEmpty());
    EXPECT_EQ(m_recorder.shortcutText(), "Alt+G");
    m_recorder.start();
    EXPECT_EQ(m_recorder.error(), "");
}

TEST_F(ShortcutRecorderTest, EscapeStopsAndClearRemovesTheShortcut)
{
    m_recorder.start();
    m_recorder.keyPressed(Qt::Key_Escape, Qt::NoModifier);
    EXPECT_FALSE(m_recorder.isRecording());
    EXPECT_EQ(m_recorder.shortcutText(), "Alt+G");
    m_recorder.clear();
    EXPECT_EQ(m_recorder.shortcutText(), "");
    EXPECT_EQ(m_settings.shortcut(ShortcutSettings::fixGrammar), std::nullopt);
}

} // namespace
} // namespace vesk::app
