#include "app/services/ShortcutSettings.h"

#include "support/fake/FakePlatform.h"
#include "support/ParamName.h"
#include "support/SettingsFile.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

namespace vesk::app {
namespace {

using test::operator<<;

constexpr const char* storageKey = "KeyboardShortcuts_fixGrammar";
const KeyCombination altG{Qt::Key_G, Qt::AltModifier};
const KeyCombination ctrlAltK{Qt::Key_K, Qt::ControlModifier | Qt::AltModifier};

class ShortcutSettingsTest : public ::testing::Test
{
protected:
    std::unique_ptr<QSettings> storage() const { return m_file.open(); }
    void store(const QByteArray& value) const { storage()->setValue(storageKey, value); }
    QVariant stored() const { return storage()->value(storageKey); }

    test::SettingsFile m_file;
    FakeGlobalShortcut m_platform;
};

// What the settings file holds; anything unreadable falls back to the default (how a combination is read is
// KeyCombinationTest's).
struct StoredCase
{
    const char* name;
    QByteArray stored; // null: nothing stored
    std::optional<KeyCombination> shortcut;
};

class StoredShortcutTest : public ShortcutSettingsTest, public ::testing::WithParamInterface<StoredCase>
{
};

TEST_P(StoredShortcutTest, IsReadAndRegisteredAtOnce)
{
    if (!GetParam().stored.isNull()) {
        store(GetParam().stored);
    }
    const ShortcutSettings settings(storage(), &m_platform);
    EXPECT_EQ(settings.shortcut(ShortcutSettings::fixGrammar), GetParam().shortcut);
    EXPECT_EQ(m_platform.registered(ShortcutSettings::fixGrammar), GetParam().shortcut);
    EXPECT_EQ(stored().toByteArray(), GetParam().stored) << "nothing is written back, the default neither";
}

INSTANTIATE_TEST_SUITE_P(
    Stored, StoredShortcutTest,
    ::testing::Values(StoredCase{"Nothing", {}, altG}, StoredCase{"Combination", R"({"key":"K","modifiers":["control","alt"]})", ctrlAltK},
                      StoredCase{"Cleared", "none", std::nullopt}, StoredCase{"NotJson", "{not json", altG},
                      StoredCase{"Array", R"(["alt","G"])", altG}),
    test::ParamName());

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

TEST_F(ShortcutSettingsTest, RecordingRefusesTakenKeysAndKeepsTheCurrentShortcut)
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

struct ValidationCase
{
    const char* name;
    KeyCombination combination;
    const char* reason; // empty: allowed
};

using ShortcutValidationTest = ::testing::TestWithParam<ValidationCase>;

TEST_P(ShortcutValidationTest, GivesAReadableReason)
{
    EXPECT_EQ(ShortcutSettings::disallowedReason(GetParam().combination), QString::fromUtf8(GetParam().reason));
}

constexpr Qt::KeyboardModifiers ctrlAlt = Qt::ControlModifier | Qt::AltModifier;

INSTANTIATE_TEST_SUITE_P(
    Rules, ShortcutValidationTest,
    ::testing::Values(
        ValidationCase{"AltG", {Qt::Key_G, Qt::AltModifier}, ""},
        ValidationCase{"CtrlShiftSpace", {Qt::Key_Space, Qt::ControlModifier | Qt::ShiftModifier}, ""},
        ValidationCase{"FunctionKeyAlone", {Qt::Key_F9, Qt::NoModifier}, ""},
        ValidationCase{"LetterAlone",
                       {Qt::Key_G, Qt::NoModifier},
                       "G alone would start a correction every time you type it. Add Ctrl, Alt or Super."},
        ValidationCase{
            "ShiftOnly", {Qt::Key_G, Qt::ShiftModifier}, "Shift+G types a character. Add Ctrl, Alt or Super."},
        ValidationCase{"BareModifier",
                       {Qt::Key_Alt, Qt::AltModifier},
                       "A shortcut needs a key besides Ctrl, Alt, Shift or Super."},
        ValidationCase{"AltTab",
                       {Qt::Key_Tab, Qt::AltModifier},
                       "Alt+Tab switches between windows on most desktops; choose another shortcut."},
        ValidationCase{
            "ConsoleSwitch", {Qt::Key_F3, ctrlAlt}, "Ctrl+Alt+F3 switches to a text console; choose another shortcut."},
        ValidationCase{"OwnCopyStroke",
                       {Qt::Key_C, Qt::ControlModifier},
                       "Ctrl+C is what Vesk sends to copy your selection, so it can't also start a correction."}),
    test::ParamName());

} // namespace
} // namespace vesk::app
