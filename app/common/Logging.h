#pragma once

// The app's logging categories, one per area. None of them ever carries a key, a prompt or the user's text.

#include <QLoggingCategory>

namespace vesk::app {
Q_DECLARE_LOGGING_CATEGORY(lcApp)         // start-up, tray, single instance
Q_DECLARE_LOGGING_CATEGORY(lcAutostart)   // launch at login
Q_DECLARE_LOGGING_CATEGORY(lcCapture)     // copying the selection and pasting the correction
Q_DECLARE_LOGGING_CATEGORY(lcConnection)  // provider key checks
Q_DECLARE_LOGGING_CATEGORY(lcCoordinator) // the correction flow
Q_DECLARE_LOGGING_CATEGORY(lcHistory)     // the history store
Q_DECLARE_LOGGING_CATEGORY(lcInstance)    // single instance
Q_DECLARE_LOGGING_CATEGORY(lcKeyring)     // the keyring
Q_DECLARE_LOGGING_CATEGORY(lcPlatform)    // platform back ends and shortcut settings
Q_DECLARE_LOGGING_CATEGORY(lcSettings)    // stored settings
Q_DECLARE_LOGGING_CATEGORY(lcUi)          // windows and views
} // namespace vesk::app
