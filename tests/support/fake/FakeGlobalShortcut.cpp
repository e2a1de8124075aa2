#include "support/fake/FakeGlobalShortcut.h"

namespace vesk::app {

bool FakeGlobalShortcut::setShortcut(const QString& name, const std::optional<KeyCombination>& combination,
                                     QString* error)
{
    m_registered.remove(name);
    if (!combination) {
        return true;
    }
    if (m_taken.contains(*combination)) {
        if (error) {
            *error = QStringLiteral("%1 is already taken by another program.").arg(combination->displayText());
        }
        return false;
    }
    m_registered.insert(name, *combination);
    return true;
}

std::optional<KeyCombination> FakeGlobalShortcut::registered(const QString& name) const
{
    const auto found = m_registered.constFind(name);
    return found == m_registered.cend() ? std::nullopt : std::optional(*found);
}

} // namespace vesk::app
