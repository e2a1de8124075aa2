#pragma once

// A shortcut the platform cannot register: every recorded one is refused, with the reason (or the way
// round it) that the user reads in Settings.

#include "app/platform/GlobalShortcut.h"

#include <functional>

namespace vesk::app {

class RefusingGlobalShortcut : public GlobalShortcut
{
public:
    using Reason = std::function<QString(const KeyCombination&)>;

    explicit RefusingGlobalShortcut(Reason reason, QObject* parent = nullptr)
        : GlobalShortcut(parent), m_reason(std::move(reason))
    {
    }

    // No shortcut is always fine; any other fails with the reason for `combination`.
    bool setShortcut(const QString& name, const std::optional<KeyCombination>& combination, QString* error) override
    {
        m_name = name;
        if (!combination) {
            return true;
        }
        if (error) {
            *error = m_reason(*combination);
        }
        return false;
    }
    void setPaused(bool paused) override { m_paused = paused; }

protected:
    // The name last given, the one a press reported from elsewhere (a compositor binding) stands for.
    [[nodiscard]] const QString& name() const { return m_name; }
    [[nodiscard]] bool isPaused() const { return m_paused; }

private:
    Reason m_reason;
    QString m_name;
    bool m_paused = false;
};

} // namespace vesk::app
