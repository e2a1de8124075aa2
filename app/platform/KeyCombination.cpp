#include "app/platform/KeyCombination.h"

#include <QJsonArray>
#include <QKeySequence>

namespace vesk::app {
namespace {

struct ModifierName
{
    Qt::KeyboardModifier modifier;
    const char* stored;
    const char* shown;
};

// In the order people write them on Linux desktops: Ctrl+Alt+Shift+Super+key.
constexpr ModifierName modifierNames[] = {
    {Qt::ControlModifier, "control", "Ctrl"},
    {Qt::AltModifier, "alt", "Alt"},
    {Qt::ShiftModifier, "shift", "Shift"},
    {Qt::MetaModifier, "meta", "Super"},
};

constexpr Qt::KeyboardModifiers knownModifiers =
    Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier;

// Portable text is the same in every locale, so a stored key reads back the same after a language change.
QString keyName(int key)
{
    return QKeySequence(key).toString(QKeySequence::PortableText);
}

} // namespace

bool KeyCombination::isModifierKey(int key)
{
    switch (key) {
    case Qt::Key_Shift:
    case Qt::Key_Control:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
    case Qt::Key_Hyper_L:
    case Qt::Key_Hyper_R:
    case Qt::Key_CapsLock:
    case Qt::Key_NumLock:
        return true;
    default:
        return false;
    }
}

QJsonObject KeyCombination::toJson() const
{
    QJsonArray modifierList;
    for (const ModifierName& name : modifierNames) {
        if (modifiers.testFlag(name.modifier)) {
            modifierList.append(QString::fromLatin1(name.stored));
        }
    }
    return QJsonObject{{"key", keyName(key)}, {"modifiers", modifierList}};
}

std::optional<KeyCombination> KeyCombination::fromJson(const QJsonObject& json)
{
    const QString keyText = json.value("key").toString();
    if (keyText.isEmpty() || !json.value("modifiers").isArray()) {
        return std::nullopt;
    }
    const QKeySequence sequence = QKeySequence::fromString(keyText, QKeySequence::PortableText);
    // One key and nothing else: "Ctrl+G" in the key field, or a two-stroke sequence, is not a key.
    if (sequence.count() != 1 || sequence[0].keyboardModifiers() != Qt::NoModifier) {
        return std::nullopt;
    }
    KeyCombination combination;
    combination.key = sequence[0].key();
    if (combination.key == Qt::Key_unknown || isModifierKey(combination.key)) {
        return std::nullopt;
    }
    for (const QJsonValue& value : json.value("modifiers").toArray()) {
        const auto* found = std::find_if(std::begin(modifierNames), std::end(modifierNames),
                                         [&](const ModifierName& name) { return value.toString() == name.stored; });
        if (found == std::end(modifierNames)) {
            return std::nullopt;
        }
        combination.modifiers |= found->modifier;
    }
    return combination;
}

QString KeyCombination::displayText() const
{
    QStringList parts;
    for (const ModifierName& name : modifierNames) {
        if ((modifiers & knownModifiers).testFlag(name.modifier)) {
            parts.append(QString::fromLatin1(name.shown));
        }
    }
    parts.append(keyName(key));
    return parts.join(u'+');
}

} // namespace vesk::app
