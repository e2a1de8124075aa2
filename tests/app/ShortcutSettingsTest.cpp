#include "app/services/ShortcutSettings.h"

#include "app/models/ShortcutRecorder.h"
#include "support/SettingsFile.h"
#include "support/fake/FakePlatform.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

constexpr const char* storageKey = "KeyboardShortcuts_fixGrammar";
const KeyCombination altG{Qt::Key_G, Qt::AltModifier};
const KeyCombination ctrlAltK{Qt::Key_K, Qt::ControlModifier | Qt::AltModifier};

class ShortcutSettingsTest : public ::testing::Test
{
protected:
    std::unique_ptr<QSettings> storage() const { return m_file.open(); }
    QVariant stored() const { return storage()->value(storageKey); }

    test::SettingsFile m_file;
    FakeGlobalShortcut m_platform;
};

// What the settings file holds is read and registered at once; anything unreadable falls back to the default
// (how a combination is read is KeyCombinationTest's), and nothing is written back, the default neither.
TEST_F(ShortcutSettingsTest, StoredShortcutIsReadAndRegisteredAtOnce)
{
    const std::pair<QByteArray, std::optional<KeyCombination>> rows[] = {
        {{}, altG},
        {R"({"key":"K","modifiers":["control","alt"]})", ctrlAltK},
        {"none", std::nullopt},
        {"{not json", altG},
        {R"(["alt","G"])", altG},
    };
    for (const auto& [value, shortcut] : rows) {
        value.isNull() ? storage()->remove(storageKey) : storage()->setValue(storageKey, value);
        const ShortcutSettings settings(storage(), &m_platform);
        EXPECT_EQ(settings.shortcut(ShortcutSettings::fixGrammar), shortcut) << value.toStdString();
        EXPECT_EQ(m_platform.registered(ShortcutSettings::fixGrammar), shortcut) << value.toStdString();
        EXPECT_EQ(stored().toByteArray(), value);
    }
}

TEST_F(ShortcutSettingsTest, SetClearAndResetPersistRegisterAndNotifyOnRealChanges)
{
    ShortcutSettings settings(storage(), &m_platform);
    QSignalSpy changed(&settings, &ShortcutSettings::shortcutChanged);

    settings.setShortcut(ShortcutSettings::fixGrammar, ctrlAltK);
    EXPECT_EQ(stored().toByteArray(), R"({"key":"K","modifiers":["control","alt"]})");
    EXPECT_EQ(m_platform.registered(ShortcutSettings::fixGrammar), ctrlAltK);
    settings.setShortcut(ShortcutSettings::fixGrammar, ctrlAltK);
    EXPECT_EQ(changed.count(), 1) << "the same value again does not notify";

    settings.setShortcut(ShortcutSettings::fixGrammar, std::nullopt);
    EXPECT_EQ(stored().toByteArray(), "none");
    EXPECT_EQ(m_platform.registered(ShortcutSettings::fixGrammar), std::nullopt);

    settings.reset(ShortcutSettings::fixGrammar);
    EXPECT_FALSE(stored().isValid());
    EXPECT_EQ(m_platform.registered(ShortcutSettings::fixGrammar), altG);
    EXPECT_EQ(changed.count(), 3);
    EXPECT_EQ(changed.at(2).at(0).toString(), ShortcutSettings::fixGrammar);
}

TEST_F(ShortcutSettingsTest, RecordingRefusesTakenOrReservedKeysAndKeepsTheCurrentShortcut)
{
    m_platform.setTaken(ctrlAltK);
    ShortcutSettings settings(storage(), &m_platform);
    QString reason;
    EXPECT_FALSE(settings.record(ShortcutSettings::fixGrammar, ctrlAltK, &reason));
    EXPECT_FALSE(reason.isEmpty());
    EXPECT_EQ(settings.shortcut(ShortcutSettings::fixGrammar), altG);
    EXPECT_EQ(m_platform.registered(ShortcutSettings::fixGrammar), altG) << "the old keys are taken again";

    EXPECT_FALSE(settings.record(ShortcutSettings::fixGrammar, {Qt::Key_F4, Qt::AltModifier}, &reason));
    EXPECT_EQ(reason, "Alt+F4 closes the window on most desktops; choose another shortcut.");

    const KeyCombination superJ{Qt::Key_J, Qt::MetaModifier};
    EXPECT_TRUE(settings.record(ShortcutSettings::fixGrammar, superJ, &reason));
    EXPECT_EQ(settings.shortcut(ShortcutSettings::fixGrammar), superJ);
    EXPECT_EQ(m_platform.registered(ShortcutSettings::fixGrammar), superJ);
}

class ShortcutRecorderTest : public ShortcutSettingsTest
{
protected:
    ShortcutSettings m_settings{storage(), &m_platform};
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

TEST(ShortcutValidationTest, GivesAReadableReason)
{
    const auto reason = [](int key, Qt::KeyboardModifiers modifiers) {
        return ShortcutSettings::disallowedReason({key, modifiers}).toStdString();
    };
    EXPECT_EQ(reason(Qt::Key_G, Qt::AltModifier), "");
    EXPECT_EQ(reason(Qt::Key_Space, Qt::ControlModifier | Qt::ShiftModifier), "");
    EXPECT_EQ(reason(Qt::Key_F9, Qt::NoModifier), "") << "function keys are rarely typed";
    EXPECT_EQ(reason(Qt::Key_G, Qt::NoModifier),
              "G alone would start a correction every time you type it. Add Ctrl, Alt or Super.");
    EXPECT_EQ(reason(Qt::Key_G, Qt::ShiftModifier), "Shift+G types a character. Add Ctrl, Alt or Super.");
    EXPECT_EQ(reason(Qt::Key_Alt, Qt::AltModifier), "A shortcut needs a key besides Ctrl, Alt, Shift or Super.");
    EXPECT_EQ(reason(Qt::Key_Tab, Qt::AltModifier),
              "Alt+Tab switches between windows on most desktops; choose another shortcut.");
    EXPECT_EQ(reason(Qt::Key_F3, Qt::ControlModifier | Qt::AltModifier),
              "Ctrl+Alt+F3 switches to a text console; choose another shortcut.");
    EXPECT_EQ(reason(Qt::Key_C, Qt::ControlModifier),
              "Ctrl+C is what Vesk sends to copy your selection, so it can't also start a correction.");
}

} // namespace
} // namespace vesk::app
