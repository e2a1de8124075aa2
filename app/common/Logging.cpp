#include "app/common/Logging.h"

namespace vesk::app {
Q_LOGGING_CATEGORY(lcApp, "vesk.app")
Q_LOGGING_CATEGORY(lcAutostart, "vesk.autostart")
Q_LOGGING_CATEGORY(lcCapture, "vesk.capture")
Q_LOGGING_CATEGORY(lcConnection, "vesk.connection")
Q_LOGGING_CATEGORY(lcCoordinator, "vesk.coordinator")
Q_LOGGING_CATEGORY(lcHistory, "vesk.history")
Q_LOGGING_CATEGORY(lcInstance, "vesk.instance")
Q_LOGGING_CATEGORY(lcKeyring, "vesk.keyring")
Q_LOGGING_CATEGORY(lcPlatform, "vesk.platform")
Q_LOGGING_CATEGORY(lcSettings, "vesk.settings")
Q_LOGGING_CATEGORY(lcUi, "vesk.ui")
} // namespace vesk::app
