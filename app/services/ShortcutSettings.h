#pragma once

// The app's named system-wide shortcuts: stored per name, registered with the platform, and checked when the
// user records a new one.

#include "app/platform/GlobalShortcut.h"
#include "app/platform/KeyCombination.h"

#include <QHash>
#include <QObject>
#include <QSettings>
#include <memory>
#include <optional>

namespace vesk::app {

class ShortcutSettings : public QObject
{
    Q_OBJECT

public:
    // Starts a correction from any application.
    static constexpr const char* fixGrammar = "fixGrammar";
    // Each name is stored under this prefix followed by the name, as the JSON of its KeyCombination, or "none".
    static constexpr const char* storagePrefix = "KeyboardShortcuts_";
    static constexpr const char* noneValue = "none";

    // Loads from the user's settings file, or from `storage` (tests). With `platform`, every known name is
    // registered now and again whenever it changes; the platform must outlive this object.
    explicit ShortcutSettings(std::unique_ptr<QSettings> storage = nullptr, GlobalShortcut* platform = nullptr,
                              QObject* parent = nullptr);
    ~ShortcutSettings() override;

    // The default of a known name (Alt+G for fixGrammar); none for names the app does not declare.
    static std::optional<KeyCombination> defaultShortcut(const QString& name);
    // Why the recorder must refuse `combination` whoever holds it, in plain English; empty when allowed.
    static QString disallowedReason(const KeyCombination& combination);

    // The stored shortcut, the default when nothing is stored (or what is stored cannot be read), none when
    // the user cleared it.
    [[nodiscard]] std::optional<KeyCombination> shortcut(const QString& name) const;
    // Stores `combination` (none clears the shortcut) and registers it; notifies when it changed.
    void setShortcut(const QString& name, const std::optional<KeyCombination>& combination);
    // Forgets the stored value so the default applies again.
    void reset(const QString& name);

    // What the recorder calls with a caught combination: refuses disallowed ones and ones another program
    // holds (leaving the current shortcut registered), otherwise stores it. False with a reason on refusal.
    bool record(const QString& name, const KeyCombination& combination, QString* reason);
    // While the recorder listens, the shortcuts are released so that pressing one records it instead of
    // starting a correction.
    void setRecording(bool recording);

    // Why the name's shortcut is not active (another program holds it), empty when it is or there is none.
    [[nodiscard]] QString registrationError(const QString& name) const { return m_registrationErrors.value(name); }

signals:
    void shortcutChanged(const QString& name);

private:
    void store(const QString& name, const std::optional<QByteArray>& value);
    void registerShortcut(const QString& name);

    std::unique_ptr<QSettings> m_storage;
    GlobalShortcut* m_platform;
    QHash<QString, QString> m_registrationErrors;
};

} // namespace vesk::app
