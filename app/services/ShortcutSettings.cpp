#include "app/services/ShortcutSettings.h"

#include "app/common/Logging.h"
#include "app/services/PrivateFiles.h"

#include <QJsonDocument>

namespace vesk::app {

namespace {

struct ReservedCombination
{
    Qt::KeyboardModifiers modifiers;
    int key;
    const char* use;
};

constexpr Qt::KeyboardModifiers ctrl = Qt::ControlModifier;
constexpr Qt::KeyboardModifiers alt = Qt::AltModifier;
constexpr Qt::KeyboardModifiers shift = Qt::ShiftModifier;
constexpr Qt::KeyboardModifiers super = Qt::MetaModifier;

// Combinations that GNOME, KDE Plasma, Xfce, Cinnamon, MATE or the X server itself take on a default install.
// A window manager usually holds them through a grab, but not always in a way our grab would notice (some
// act on the release, some read the keyboard below X), so the recorder refuses them up front.
const ReservedCombination reservedCombinations[] = {
    {alt, Qt::Key_Tab, "switches between windows"},
    {alt | shift, Qt::Key_Tab, "switches between windows"},
    {alt, Qt::Key_Backtab, "switches between windows"},
    {alt | shift, Qt::Key_Backtab, "switches between windows"},
    {ctrl | alt, Qt::Key_Tab, "switches between panels"},
    {super, Qt::Key_Tab, "switches between applications"},
    {alt, Qt::Key_Escape, "switches between windows"},
    {alt, Qt::Key_Space, "opens the window menu"},
    {alt, Qt::Key_F1, "opens the applications menu"},
    {alt, Qt::Key_F2, "opens the run dialog"},
    {alt, Qt::Key_F3, "opens the application finder"},
    {alt, Qt::Key_F4, "closes the window"},
    {alt, Qt::Key_F7, "moves the window"},
    {alt, Qt::Key_F8, "resizes the window"},
    {alt, Qt::Key_F10, "maximises the window"},
    {ctrl | alt, Qt::Key_Delete, "logs out or opens the system monitor"},
    {ctrl | alt, Qt::Key_Backspace, "can end the whole desktop session"},
    {ctrl | alt, Qt::Key_L, "locks the screen"},
    {super, Qt::Key_L, "locks the screen"},
    {ctrl | alt, Qt::Key_T, "opens a terminal"},
    {ctrl | alt, Qt::Key_Left, "switches workspaces"},
    {ctrl | alt, Qt::Key_Right, "switches workspaces"},
    {ctrl | alt, Qt::Key_Up, "switches workspaces"},
    {ctrl | alt, Qt::Key_Down, "switches workspaces"},
    {Qt::NoModifier, Qt::Key_Print, "takes a screenshot"},
    {alt, Qt::Key_Print, "takes a screenshot"},
    // The strokes Vesk itself sends to copy and paste: grabbing one would swallow our own keystroke.
    {ctrl, Qt::Key_A, "is what Vesk sends to select all text"},
    {ctrl, Qt::Key_C, "is what Vesk sends to copy your selection"},
    {ctrl | shift, Qt::Key_C, "is what Vesk sends to copy in a terminal"},
    {ctrl, Qt::Key_V, "is what Vesk sends to paste the correction"},
    {ctrl | shift, Qt::Key_V, "is what Vesk sends to paste in a terminal"},
    {shift, Qt::Key_Insert, "is what Vesk sends to paste in xterm"},
};

constexpr Qt::KeyboardModifiers holdingModifiers = Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;

bool isFunctionKey(int key)
{
    return key >= Qt::Key_F1 && key <= Qt::Key_F35;
}

bool isSwitchingVirtualTerminal(const KeyCombination& combination)
{
    return combination.modifiers == (ctrl | alt) && combination.key >= Qt::Key_F1 && combination.key <= Qt::Key_F12;
}

} // namespace

ShortcutSettings::ShortcutSettings(std::unique_ptr<QSettings> storage, GlobalShortcut* platform, QObject* parent)
    : QObject(parent), m_storage(settingsStorage(std::move(storage))), m_platform(platform)
{
    registerShortcut(fixGrammar);
}

ShortcutSettings::~ShortcutSettings() = default;

std::optional<KeyCombination> ShortcutSettings::defaultShortcut(const QString& name)
{
    if (name == fixGrammar) {
        return KeyCombination{Qt::Key_G, Qt::AltModifier};
    }
    return std::nullopt;
}

QString ShortcutSettings::disallowedReason(const KeyCombination& combination)
{
    if (combination.key == 0 || KeyCombination::isModifierKey(combination.key)) {
        return tr("A shortcut needs a key besides Ctrl, Alt, Shift or Super.");
    }
    const QString shown = combination.displayText();
    if (isSwitchingVirtualTerminal(combination)) {
        return tr("%1 switches to a text console; choose another shortcut.").arg(shown);
    }
    for (const ReservedCombination& reserved : reservedCombinations) {
        if (reserved.modifiers == combination.modifiers && reserved.key == combination.key) {
            // Vesk's own strokes are described as such ("is what Vesk sends..."), the desktop's by their use.
            const QString use = QString::fromLatin1(reserved.use);
            return use.startsWith(QLatin1String("is what Vesk"))
                       ? tr("%1 %2, so it can't also start a correction.").arg(shown, use)
                       : tr("%1 %2 on most desktops; choose another shortcut.").arg(shown, use);
        }
    }
    // Function keys are rarely typed, so Shift+F5 or even F5 alone cannot get in the way of writing.
    if (!(combination.modifiers & holdingModifiers) && !isFunctionKey(combination.key)) {
        if (combination.modifiers == Qt::NoModifier) {
            return tr("%1 alone would start a correction every time you type it. Add Ctrl, Alt or Super.").arg(shown);
        }
        return tr("%1 types a character. Add Ctrl, Alt or Super.").arg(shown);
    }
    return {};
}

std::optional<KeyCombination> ShortcutSettings::shortcut(const QString& name) const
{
    const QVariant stored = m_storage->value(storagePrefix + name);
    if (!stored.isValid()) {
        return defaultShortcut(name);
    }
    const QByteArray text = stored.toByteArray();
    if (text == noneValue) {
        return std::nullopt;
    }
    const QJsonDocument document = QJsonDocument::fromJson(text);
    std::optional<KeyCombination> decoded =
        document.isObject() ? KeyCombination::fromJson(document.object()) : std::nullopt;
    if (!decoded) {
        qCDebug(lcPlatform) << "stored shortcut for" << name << "ignored, using the default";
        return defaultShortcut(name);
    }
    return decoded;
}

void ShortcutSettings::setShortcut(const QString& name, const std::optional<KeyCombination>& combination)
{
    store(name,
          combination ? QJsonDocument(combination->toJson()).toJson(QJsonDocument::Compact) : QByteArray(noneValue));
}

void ShortcutSettings::reset(const QString& name)
{
    store(name, std::nullopt);
}

void ShortcutSettings::store(const QString& name, const std::optional<QByteArray>& value)
{
    const std::optional<KeyCombination> before = shortcut(name);
    if (value) {
        m_storage->setValue(storagePrefix + name, *value);
    } else {
        m_storage->remove(storagePrefix + name);
    }
    savePrivately(*m_storage);
    if (shortcut(name) != before) {
        registerShortcut(name);
        emit shortcutChanged(name);
    }
}

bool ShortcutSettings::record(const QString& name, const KeyCombination& combination, QString* reason)
{
    QString refusal = disallowedReason(combination);
    if (refusal.isEmpty() && m_platform && combination != shortcut(name)) {
        // Trying the grab is the only way to learn whether another program holds the keys.
        if (!m_platform->setShortcut(name, combination, &refusal)) {
            registerShortcut(name);
        }
    }
    if (!refusal.isEmpty()) {
        if (reason) {
            *reason = refusal;
        }
        return false;
    }
    setShortcut(name, combination);
    return true;
}

void ShortcutSettings::setRecording(bool recording)
{
    if (m_platform) {
        m_platform->setPaused(recording);
    }
}

void ShortcutSettings::registerShortcut(const QString& name)
{
    if (!m_platform) {
        return;
    }
    QString error;
    if (m_platform->setShortcut(name, shortcut(name), &error)) {
        m_registrationErrors.remove(name);
    } else {
        qCWarning(lcPlatform) << "Couldn't register the shortcut" << name << ":" << error;
        m_registrationErrors.insert(name, error);
    }
}

} // namespace vesk::app
