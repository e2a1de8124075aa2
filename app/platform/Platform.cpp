#include "app/platform/Platform.h"

#include "app/platform/LimitedPlatform.h"
#include "app/platform/PlatformBackEnds.h" // generated: the back ends' headers and `platformBackEnds`

#include <QGuiApplication>

namespace vesk::app {

bool isWaylandSession()
{
    // Under XWayland Qt may well run on xcb, yet other apps are Wayland clients that XTest cannot reach.
    return QGuiApplication::platformName() == QLatin1String("wayland") ||
           qEnvironmentVariableIsSet("WAYLAND_DISPLAY") ||
           qEnvironmentVariable("XDG_SESSION_TYPE") == QLatin1String("wayland");
}

std::unique_ptr<Platform> createPlatform()
{
    for (const PlatformFactory create : platformBackEnds) {
        if (std::unique_ptr<Platform> platform = create()) {
            return platform;
        }
    }
    return createLimitedPlatform();
}

} // namespace vesk::app
