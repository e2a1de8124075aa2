#include "app/services/LaunchAtLogin.h"
#include "app/common/Logging.h"

#include "app/common/AppIdentity.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLoggingCategory>
#include <QSaveFile>

namespace vesk::app {

namespace {


QString defaultConfigHome()
{
    // The XDG rules ignore a relative XDG_CONFIG_HOME.
    const QString configured = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (!configured.isEmpty() && QDir::isAbsolutePath(configured)) {
        return configured;
    }
    return QDir::homePath() + QStringLiteral("/.config");
}

// One argument of an Exec key: always quoted, with the characters that stay special inside quotes escaped,
// then "%" doubled for the field codes and backslashes doubled again for the string value itself.
QString execArgument(const QString& argument)
{
    QString quoted;
    for (const QChar c : argument) {
        if (c == QLatin1Char('"') || c == QLatin1Char('`') || c == QLatin1Char('$') || c == QLatin1Char('\\')) {
            quoted += QLatin1Char('\\');
        }
        quoted += c;
    }
    quoted = QLatin1Char('"') + quoted + QLatin1Char('"');
    quoted.replace(QLatin1Char('%'), QStringLiteral("%%"));
    quoted.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    quoted.replace(QLatin1Char('\n'), QStringLiteral("\\n"));
    return quoted;
}

} // namespace

LaunchAtLogin::LaunchAtLogin(QString configHome, QString executable, QObject* parent)
    : QObject(parent), m_configHome(configHome.isEmpty() ? defaultConfigHome() : std::move(configHome)),
      m_executable(executable.isEmpty() ? QCoreApplication::applicationFilePath() : std::move(executable)),
      m_enabled(isActiveEntry(entryPath()))
{
}

QString LaunchAtLogin::entryPath() const
{
    return m_configHome + QStringLiteral("/autostart/") + QLatin1String(applicationId) + QStringLiteral(".desktop");
}

void LaunchAtLogin::setEnabled(bool enabled)
{
    QString error;
    if (!(enabled ? write(&error) : remove(&error))) {
        qCCritical(lcAutostart, "Launch-at-login toggle failed: %s", qUtf8Printable(error));
    }
    m_enabled = isActiveEntry(entryPath());
    emit enabledChanged();
}

bool LaunchAtLogin::isActiveEntry(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return false;
    }
    bool inMainGroup = false;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine().trimmed();
        if (line.startsWith('[')) {
            inMainGroup = line == "[Desktop Entry]";
        } else if (inMainGroup && (line == "Hidden=true" || line == "X-GNOME-Autostart-enabled=false")) {
            return false;
        }
    }
    return true;
}

QByteArray LaunchAtLogin::entryText(const QString& executable)
{
    return QStringLiteral("[Desktop Entry]\n"
                          "Type=Application\n"
                          "Name=Vesk\n"
                          "Comment=Fix the grammar of selected text with one shortcut\n"
                          "Exec=%1\n"
                          "Terminal=false\n"
                          "X-GNOME-Autostart-enabled=true\n")
        .arg(execArgument(executable))
        .toUtf8();
}

bool LaunchAtLogin::write(QString* error) const
{
    const QString folder = QFileInfo(entryPath()).path();
    if (!QDir().mkpath(folder)) {
        *error = QStringLiteral("couldn't create %1").arg(folder);
        return false;
    }
    QSaveFile file(entryPath());
    if (!file.open(QIODevice::WriteOnly) || file.write(entryText(m_executable)) < 0 || !file.commit()) {
        *error = QStringLiteral("couldn't write %1: %2").arg(entryPath(), file.errorString());
        return false;
    }
    return true;
}

bool LaunchAtLogin::remove(QString* error) const
{
    QFile file(entryPath());
    if (file.exists() && !file.remove()) {
        *error = QStringLiteral("couldn't remove %1: %2").arg(entryPath(), file.errorString());
        return false;
    }
    return true;
}

} // namespace vesk::app
