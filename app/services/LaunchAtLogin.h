#pragma once

// Starting Vesk when the user logs in: an XDG autostart entry for the running binary. The switch shows
// what is on disk, also after a change that failed.

#include <QObject>
#include <QString>

namespace vesk::app {

class LaunchAtLogin : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool enabled READ isEnabled WRITE setEnabled NOTIFY enabledChanged)

public:
    // `configHome` is the XDG config folder (default: $XDG_CONFIG_HOME, else ~/.config); `executable` what
    // the entry starts (default: this program's absolute path).
    explicit LaunchAtLogin(QString configHome = {}, QString executable = {}, QObject* parent = nullptr);

    [[nodiscard]] QString entryPath() const;
    [[nodiscard]] bool isEnabled() const { return m_enabled; }
    // Writes or removes the entry. A failure is logged and the switch takes the state read back from disk;
    // either way `enabledChanged` tells a switch the user flipped where it really stands.
    void setEnabled(bool enabled);

    // Whether the entry at `path` starts the program at login: it exists and is not hidden.
    [[nodiscard]] static bool isActiveEntry(const QString& path);
    // The entry's text, with `executable` quoted for the Exec key.
    [[nodiscard]] static QByteArray entryText(const QString& executable);

signals:
    void enabledChanged();

private:
    bool write(QString* error) const;
    bool remove(QString* error) const;

    QString m_configHome;
    QString m_executable;
    bool m_enabled = false;
};

} // namespace vesk::app
