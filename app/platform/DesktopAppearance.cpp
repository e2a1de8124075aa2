#include "app/platform/DesktopAppearance.h"

#include "app/common/Logging.h"

#include <QProcess>
#include <QStandardPaths>

namespace vesk::app {

bool DesktopAppearance::prefersReducedMotion()
{
    const QByteArray forced = qgetenv("VESK_REDUCE_MOTION");
    if (!forced.isEmpty()) {
        return forced != "0" && forced != "false";
    }
    if (m_desktop == Known::no) {
        m_desktop = desktopDisablesAnimations() ? Known::still : Known::animate;
    }
    return m_desktop == Known::still;
}

bool DesktopAppearance::desktopDisablesAnimations()
{
    const QString gsettings = QStandardPaths::findExecutable(QStringLiteral("gsettings"));
    if (gsettings.isEmpty()) {
        return false;
    }
    QProcess process;
    process.start(gsettings, {QStringLiteral("get"), QStringLiteral("org.gnome.desktop.interface"),
                              QStringLiteral("enable-animations")});
    // A desktop without a settings daemon can make gsettings hang; motion is not worth waiting for.
    if (!process.waitForFinished(500) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        process.kill();
        process.waitForFinished(100);
        qCDebug(lcUi) << "no desktop animation setting; animations stay on";
        return false;
    }
    return process.readAllStandardOutput().trimmed() == "false";
}

} // namespace vesk::app
