#pragma once

// A key with its modifiers, named portably: the stored form means the same key on every platform.

#include <QJsonObject>
#include <QString>
#include <optional>

namespace vesk::app {

struct KeyCombination
{
    int key = 0;                     // a Qt::Key value; letters and digits as their upper-case Qt::Key
    Qt::KeyboardModifiers modifiers; // of Shift, Control, Alt, Meta only

    bool operator==(const KeyCombination&) const = default;

    // {"key": "G", "modifiers": ["alt"]}; names from QKeySequence's portable text.
    [[nodiscard]] QJsonObject toJson() const;
    static std::optional<KeyCombination> fromJson(const QJsonObject& json);
    // What a person reads, e.g. "Alt+G".
    [[nodiscard]] QString displayText() const;
    // Shift, Ctrl, Alt, Super and the lock keys: keys that cannot be the key of a combination.
    static bool isModifierKey(int key);
};

} // namespace vesk::app
