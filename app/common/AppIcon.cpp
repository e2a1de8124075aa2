#include "app/common/AppIcon.h"

#include "app/common/AppIdentity.h"

namespace vesk::app {

QIcon appIcon()
{
    QIcon icon;
    for (const int size : {16, 24, 32, 48, 64, 128, 256}) {
        icon.addFile(QStringLiteral(":/vesk/icons/%1x%1/apps/%2.png").arg(size).arg(QLatin1String(applicationId)),
                     QSize(size, size));
    }
    return icon;
}

} // namespace vesk::app
