#pragma once

// Whether the desktop asks apps for a light or a dark look, and when that changes. The XDG desktop portal's
// `org.freedesktop.appearance color-scheme` decides and is followed live; without a portal, GNOME's
// `color-scheme` setting or KDE's colour scheme in kdeglobals is read once. VESK_COLOR_SCHEME=dark|light
// overrides all of them (tests, and desktops that say nothing).

#include <QDBusVariant>
#include <QObject>
#include <QString>
#include <QVariant>
#include <optional>

namespace vesk::app {

class ColorScheme : public QObject
{
    Q_OBJECT

public:
    enum class Scheme { light, dark };

    // Reads the preference now; listens to the portal when there is one.
    explicit ColorScheme(QObject* parent = nullptr);

    [[nodiscard]] Scheme scheme() const { return m_scheme; }
    // Emits `changed` when `scheme` differs.
    void setScheme(Scheme scheme);

    // The portal's value: 1 prefers dark, 2 prefers light, 0 (or anything else) has no preference.
    [[nodiscard]] static std::optional<Scheme> fromPortal(const QVariant& value);
    // GNOME's `color-scheme` as gsettings prints it: 'prefer-dark', 'prefer-light' or 'default'.
    [[nodiscard]] static std::optional<Scheme> fromGnome(const QString& value);
    // KDE's kdeglobals: the scheme's name when it says Dark or Light, else the window background's lightness.
    [[nodiscard]] static std::optional<Scheme> fromKdeGlobals(const QString& path);
    // VESK_COLOR_SCHEME: "dark" or "light".
    [[nodiscard]] static std::optional<Scheme> fromOverride(const QByteArray& value);

signals:
    void changed();

private slots:
    // The portal's SettingChanged(namespace, key, value).
    void onPortalSettingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    [[nodiscard]] std::optional<Scheme> readPortal();

    Scheme m_scheme = Scheme::dark;
};

} // namespace vesk::app
