#include "app/platform/ColorScheme.h"
#include "app/common/Logging.h"
#include "app/platform/DesktopPortal.h"

#include <QColor>
#include <QDBusConnection>
#include <QDBusVariant>
#include <QLoggingCategory>
#include <QProcess>
#include <QFile>
#include <QStandardPaths>

namespace vesk::app {

namespace {

const QString settingsInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString appearanceGroup = QStringLiteral("org.freedesktop.appearance");
const QString colorSchemeKey = QStringLiteral("color-scheme");
// A missing portal answers at once; a hung one must not hold up the first window for long.
constexpr int portalTimeoutMs = 500;

std::optional<ColorScheme::Scheme> readGnome()
{
    const QString gsettings = QStandardPaths::findExecutable(QStringLiteral("gsettings"));
    if (gsettings.isEmpty()) {
        return std::nullopt;
    }
    QProcess process;
    process.start(gsettings,
                  {QStringLiteral("get"), QStringLiteral("org.gnome.desktop.interface"), colorSchemeKey});
    // Without a settings daemon gsettings can hang; the colour is not worth waiting for.
    if (!process.waitForFinished(500) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        process.kill();
        process.waitForFinished(100);
        return std::nullopt;
    }
    return ColorScheme::fromGnome(QString::fromUtf8(process.readAllStandardOutput()));
}

std::optional<ColorScheme::Scheme> readDesktopSetting()
{
    if (qEnvironmentVariable("XDG_CURRENT_DESKTOP").contains(QLatin1String("KDE"), Qt::CaseInsensitive)) {
        const QString path =
            QStandardPaths::locate(QStandardPaths::GenericConfigLocation, QStringLiteral("kdeglobals"));
        if (!path.isEmpty()) {
            return ColorScheme::fromKdeGlobals(path);
        }
    }
    return readGnome();
}

} // namespace

ColorScheme::ColorScheme(QObject* parent) : QObject(parent)
{
    if (const auto forced = fromOverride(qgetenv("VESK_COLOR_SCHEME"))) {
        m_scheme = *forced;
        return;
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        bus.connect(portalService, portalPath, settingsInterface, QStringLiteral("SettingChanged"), this,
                    SLOT(onPortalSettingChanged(QString, QString, QDBusVariant)));
    }
    std::optional<Scheme> desktop = readPortal();
    if (!desktop) {
        desktop = readDesktopSetting();
    }
    // Without any preference the app keeps its own dark look.
    m_scheme = desktop.value_or(Scheme::dark);
    qCDebug(lcUi) << "colour scheme:" << (m_scheme == Scheme::dark ? "dark" : "light");
}

void ColorScheme::setScheme(Scheme scheme)
{
    if (scheme == m_scheme) {
        return;
    }
    m_scheme = scheme;
    emit changed();
}

std::optional<ColorScheme::Scheme> ColorScheme::readPortal()
{
    // ReadOne is the current call; portals before version 2 only have Read.
    for (const QString& method : {QStringLiteral("ReadOne"), QStringLiteral("Read")}) {
        QString error;
        if (const std::optional<QVariant> value =
                callPortal(settingsInterface, method, {appearanceGroup, colorSchemeKey}, portalTimeoutMs, &error)) {
            return fromPortal(*value);
        }
        if (error != QLatin1String("org.freedesktop.DBus.Error.UnknownMethod")) {
            qCDebug(lcUi) << "no colour scheme from the portal:" << error;
            return std::nullopt;
        }
    }
    return std::nullopt;
}

void ColorScheme::onPortalSettingChanged(const QString& group, const QString& key, const QDBusVariant& value)
{
    if (group != appearanceGroup || key != colorSchemeKey) {
        return;
    }
    setScheme(fromPortal(unwrappedVariant(value.variant())).value_or(Scheme::dark));
}

std::optional<ColorScheme::Scheme> ColorScheme::fromPortal(const QVariant& value)
{
    bool ok = false;
    const uint preference = value.toUInt(&ok);
    if (!ok || (preference != 1 && preference != 2)) {
        return std::nullopt;
    }
    return preference == 1 ? Scheme::dark : Scheme::light;
}

std::optional<ColorScheme::Scheme> ColorScheme::fromGnome(const QString& value)
{
    const QString trimmed = value.trimmed();
    if (trimmed == QLatin1String("'prefer-dark'")) {
        return Scheme::dark;
    }
    if (trimmed == QLatin1String("'prefer-light'")) {
        return Scheme::light;
    }
    return std::nullopt;
}

std::optional<ColorScheme::Scheme> ColorScheme::fromKdeGlobals(const QString& path)
{
    // Read by hand: QSettings does not take KDE's group names with a colon in them.
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return std::nullopt;
    }
    QString group;
    QString name;
    QString background;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.startsWith(QLatin1Char('[')) && line.endsWith(QLatin1Char(']'))) {
            group = line.mid(1, line.size() - 2);
        } else if (group == QLatin1String("General") && line.startsWith(QLatin1String("ColorScheme="))) {
            name = line.section(QLatin1Char('='), 1);
        } else if (group == QLatin1String("Colors:Window") && line.startsWith(QLatin1String("BackgroundNormal="))) {
            background = line.section(QLatin1Char('='), 1);
        }
    }
    if (name.contains(QLatin1String("dark"), Qt::CaseInsensitive)) {
        return Scheme::dark;
    }
    if (name.contains(QLatin1String("light"), Qt::CaseInsensitive)) {
        return Scheme::light;
    }
    const QStringList rgb = background.split(QLatin1Char(','));
    if (rgb.size() != 3) {
        return std::nullopt;
    }
    const QColor color(rgb[0].toInt(), rgb[1].toInt(), rgb[2].toInt());
    return color.lightnessF() < 0.5 ? Scheme::dark : Scheme::light;
}

std::optional<ColorScheme::Scheme> ColorScheme::fromOverride(const QByteArray& value)
{
    if (value == "dark") {
        return Scheme::dark;
    }
    if (value == "light") {
        return Scheme::light;
    }
    return std::nullopt;
}

} // namespace vesk::app
