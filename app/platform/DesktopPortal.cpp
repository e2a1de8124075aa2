#include "app/platform/DesktopPortal.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>

namespace vesk::app {

QVariant unwrappedVariant(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

std::optional<QVariant> callPortal(const QString& interface, const QString& method, const QVariantList& arguments,
                                   int timeoutMs, QString* errorName)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected()) {
        return std::nullopt;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(portalService, portalPath, interface, method);
    call.setArguments(arguments);
    const QDBusMessage reply = bus.call(call, QDBus::Block, timeoutMs);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
        if (errorName != nullptr) {
            *errorName = reply.errorName();
        }
        return std::nullopt;
    }
    return unwrappedVariant(reply.arguments().constFirst());
}

} // namespace vesk::app
