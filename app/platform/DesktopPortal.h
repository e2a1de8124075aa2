#pragma once

// Plain calls to the XDG desktop portal on the session bus, for the settings and versions Vesk reads once.

#include <QString>
#include <QVariant>
#include <optional>

namespace vesk::app {

inline const QString portalService = QStringLiteral("org.freedesktop.portal.Desktop");
inline const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");

// D-Bus hands variants over nested in QDBusVariant (twice for the Settings portal's older Read call).
QVariant unwrappedVariant(QVariant value);

// Calls `method` of the portal's `interface` and waits up to `timeoutMs` for the answer's first value,
// unwrapped; nothing without a session bus or when the call fails (`errorName` then says why, when given).
std::optional<QVariant> callPortal(const QString& interface, const QString& method, const QVariantList& arguments,
                                   int timeoutMs, QString* errorName = nullptr);

} // namespace vesk::app
