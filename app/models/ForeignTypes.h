#pragma once

// Names QML knows for the app's objects that views reach but do not create: the provider connection, the
// panel's actions and the launch-at-login switch keep their own headers free of QML registration.

#include "app/models/ProviderConnection.h"
#include "app/models/ReviewActions.h"
#include "app/services/LaunchAtLogin.h"

#include <QtQml/qqml.h>

namespace vesk::app {

struct ProviderConnectionForeign
{
    Q_GADGET
    QML_FOREIGN(vesk::app::ProviderConnection)
    QML_NAMED_ELEMENT(ProviderConnection)
    QML_UNCREATABLE("owned by the app")
};

struct ReviewActionsForeign
{
    Q_GADGET
    QML_FOREIGN(vesk::app::ReviewActions)
    QML_NAMED_ELEMENT(ReviewActions)
    QML_UNCREATABLE("owned by the review panel")
};

struct LaunchAtLoginForeign
{
    Q_GADGET
    QML_FOREIGN(vesk::app::LaunchAtLogin)
    QML_NAMED_ELEMENT(LaunchAtLogin)
    QML_UNCREATABLE("owned by the settings")
};

} // namespace vesk::app
