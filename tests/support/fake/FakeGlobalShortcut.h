#pragma once

// Global shortcuts for tests: what is registered, and which keys another program holds.

#include "app/platform/GlobalShortcut.h"

#include <QHash>
#include <QList>

namespace vesk::app {

class FakeGlobalShortcut : public GlobalShortcut
{
    Q_OBJECT

public:
    using GlobalShortcut::GlobalShortcut;

    bool setShortcut(const QString& name, const std::optional<KeyCombination>& combination, QString* error) override;
    void setPaused(bool paused) override { m_paused = paused; }

    // Another program holds `combination`: registering it fails.
    void setTaken(const KeyCombination& combination) { m_taken.append(combination); }

    [[nodiscard]] std::optional<KeyCombination> registered(const QString& name) const;
    [[nodiscard]] bool isPaused() const { return m_paused; }

private:
    QHash<QString, KeyCombination> m_registered;
    QList<KeyCombination> m_taken;
    bool m_paused = false;
};

} // namespace vesk::app
