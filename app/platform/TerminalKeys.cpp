#include "app/platform/TerminalKeys.h"

#include <QStringList>

namespace vesk::app {
namespace {

struct Terminal
{
    const char* windowClass;
    std::optional<KeyCombination> copy;
    std::optional<KeyCombination> paste;
};

constexpr Qt::KeyboardModifiers ctrlShift = Qt::ControlModifier | Qt::ShiftModifier;
const KeyCombination ctrlShiftC{Qt::Key_C, ctrlShift};
const KeyCombination ctrlShiftV{Qt::Key_V, ctrlShift};
// The X Toolkit terminals paste with Shift+Insert and have no copy key; Ctrl+Shift+C there is a plain ^C.
const KeyCombination shiftInsert{Qt::Key_Insert, Qt::ShiftModifier};
// rxvt-unicode's clipboard keys since 9.20.
const KeyCombination ctrlAltC{Qt::Key_C, Qt::ControlModifier | Qt::AltModifier};
const KeyCombination ctrlAltV{Qt::Key_V, Qt::ControlModifier | Qt::AltModifier};

// Both parts of WM_CLASS are listed where they differ (gnome-terminal-server / gnome-terminal).
const Terminal terminals[] = {
    {"xterm", std::nullopt, shiftInsert},
    {"uxterm", std::nullopt, shiftInsert},
    {"urxvt", ctrlAltC, ctrlAltV},
    {"rxvt", ctrlAltC, ctrlAltV},
    {"rxvt-unicode", ctrlAltC, ctrlAltV},
    {"kitty", ctrlShiftC, ctrlShiftV},
    {"alacritty", ctrlShiftC, ctrlShiftV},
    {"foot", ctrlShiftC, ctrlShiftV},
    {"footclient", ctrlShiftC, ctrlShiftV},
    {"st", ctrlShiftC, ctrlShiftV},
    {"st-256color", ctrlShiftC, ctrlShiftV},
    {"xfce4-terminal", ctrlShiftC, ctrlShiftV},
    {"gnome-terminal", ctrlShiftC, ctrlShiftV},
    {"gnome-terminal-server", ctrlShiftC, ctrlShiftV},
    {"kgx", ctrlShiftC, ctrlShiftV},
    {"konsole", ctrlShiftC, ctrlShiftV},
    {"yakuake", ctrlShiftC, ctrlShiftV},
    {"terminator", ctrlShiftC, ctrlShiftV},
    {"tilix", ctrlShiftC, ctrlShiftV},
    {"terminology", ctrlShiftC, ctrlShiftV},
    {"wezterm", ctrlShiftC, ctrlShiftV},
    {"org.wezfurlong.wezterm", ctrlShiftC, ctrlShiftV},
    {"qterminal", ctrlShiftC, ctrlShiftV},
    {"lxterminal", ctrlShiftC, ctrlShiftV},
    {"mate-terminal", ctrlShiftC, ctrlShiftV},
    {"sakura", ctrlShiftC, ctrlShiftV},
    {"guake", ctrlShiftC, ctrlShiftV},
    {"tilda", ctrlShiftC, ctrlShiftV},
    {"cool-retro-term", ctrlShiftC, ctrlShiftV},
    {"terminal", ctrlShiftC, ctrlShiftV}, // Pantheon's and others' generic "Terminal" class
    {"x-terminal-emulator", ctrlShiftC, ctrlShiftV},
};

const Terminal* findTerminal(const QString& windowClass)
{
    for (const Terminal& terminal : terminals) {
        if (windowClass.compare(QLatin1String(terminal.windowClass), Qt::CaseInsensitive) == 0) {
            return &terminal;
        }
    }
    return nullptr;
}

} // namespace

bool isTerminalClass(const QString& windowClass)
{
    return findTerminal(windowClass) != nullptr;
}

std::optional<KeyCombination> keysFor(Keystroke stroke, const QString& windowClass)
{
    const Terminal* terminal = findTerminal(windowClass);
    switch (stroke) {
    case Keystroke::selectAll:
        // In a terminal Ctrl+A moves the shell's cursor; there is no common select-all key.
        return terminal ? std::nullopt : std::optional(KeyCombination{Qt::Key_A, Qt::ControlModifier});
    case Keystroke::copy:
        return terminal ? terminal->copy : KeyCombination{Qt::Key_C, Qt::ControlModifier};
    case Keystroke::paste:
        return terminal ? terminal->paste : KeyCombination{Qt::Key_V, Qt::ControlModifier};
    }
    return std::nullopt;
}

} // namespace vesk::app
