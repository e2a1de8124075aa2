#pragma once

// The logging category of the platform layer and the shortcut settings; it never carries the user's text.

#include <QLoggingCategory>

namespace vesk::app {
Q_DECLARE_LOGGING_CATEGORY(lcPlatform)
} // namespace vesk::app
