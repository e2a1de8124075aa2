#include "app/platform/wayland/WaylandConnection.h"

#include "app/common/Logging.h"
#include "virtual-keyboard-unstable-v1-client.h"
#include "wlr-data-control-unstable-v1-client.h"
#include "wlr-foreign-toplevel-management-unstable-v1-client.h"

#include <QSocketNotifier>
#include <cstring>
#include <poll.h>
#include <wayland-client.h>

namespace vesk::app {
namespace {

const wl_registry_listener registryListener = {
    [](void* data, wl_registry* registry, uint32_t name, const char* interface, uint32_t version) {
        WaylandConnection::global(data, registry, name, interface, version);
    },
    [](void* data, wl_registry* registry, uint32_t name) { WaylandConnection::globalRemoved(data, registry, name); },
};

} // namespace

std::unique_ptr<WaylandConnection> WaylandConnection::connect()
{
    wl_display* display = wl_display_connect(nullptr);
    if (display == nullptr) {
        qCInfo(lcPlatform) << "No Wayland compositor to connect to";
        return nullptr;
    }
    std::unique_ptr<WaylandConnection> connection(new WaylandConnection(display));
    if (!connection->roundTrip()) {
        return nullptr;
    }
    qCInfo(lcPlatform) << "Wayland compositor offers" << connection->m_interfaces.size() << "interfaces; seat"
                       << (connection->m_seat != nullptr) << "virtual keyboard"
                       << (connection->m_virtualKeyboards != nullptr) << "data control"
                       << (connection->m_dataControl != nullptr) << "toplevels" << (connection->m_toplevels != nullptr);
    return connection;
}

WaylandConnection::WaylandConnection(wl_display* display) : m_display(display)
{
    m_registry = wl_display_get_registry(m_display);
    wl_registry_add_listener(m_registry, &registryListener, this);
    m_notifier = new QSocketNotifier(wl_display_get_fd(m_display), QSocketNotifier::Read, this);
    QObject::connect(m_notifier, &QSocketNotifier::activated, this, &WaylandConnection::readEvents);
}

WaylandConnection::~WaylandConnection()
{
    delete m_notifier;
    if (m_toplevels != nullptr) {
        zwlr_foreign_toplevel_manager_v1_stop(m_toplevels);
    }
    if (m_dataControl != nullptr) {
        zwlr_data_control_manager_v1_destroy(m_dataControl);
    }
    if (m_seat != nullptr) {
        wl_seat_destroy(m_seat);
    }
    wl_registry_destroy(m_registry);
    wl_display_flush(m_display);
    wl_display_disconnect(m_display);
}

void WaylandConnection::global(void* data, wl_registry* registry, uint32_t name, const char* interface,
                               uint32_t version)
{
    auto* self = static_cast<WaylandConnection*>(data);
    self->m_interfaces.append(QString::fromUtf8(interface));
    if (std::strcmp(interface, wl_seat_interface.name) == 0 && self->m_seat == nullptr) {
        // The first seat is the user's; a desktop with several seats is out of scope.
        self->m_seat =
            static_cast<wl_seat*>(wl_registry_bind(registry, name, &wl_seat_interface, std::min(version, 5U)));
    } else if (std::strcmp(interface, zwp_virtual_keyboard_manager_v1_interface.name) == 0) {
        self->m_virtualKeyboards = static_cast<zwp_virtual_keyboard_manager_v1*>(
            wl_registry_bind(registry, name, &zwp_virtual_keyboard_manager_v1_interface, 1));
    } else if (std::strcmp(interface, zwlr_data_control_manager_v1_interface.name) == 0) {
        // Version 1: the clipboard only, never the primary selection that some apps set on every select.
        self->m_dataControl = static_cast<zwlr_data_control_manager_v1*>(
            wl_registry_bind(registry, name, &zwlr_data_control_manager_v1_interface, 1));
    } else if (std::strcmp(interface, zwlr_foreign_toplevel_manager_v1_interface.name) == 0) {
        self->m_toplevels = static_cast<zwlr_foreign_toplevel_manager_v1*>(
            wl_registry_bind(registry, name, &zwlr_foreign_toplevel_manager_v1_interface, 1));
    }
}

void WaylandConnection::globalRemoved(void*, wl_registry*, uint32_t) {}

void WaylandConnection::flush()
{
    wl_display_flush(m_display);
}

bool WaylandConnection::roundTrip()
{
    if (wl_display_roundtrip(m_display) < 0) {
        qCWarning(lcPlatform) << "The Wayland connection failed:" << std::strerror(wl_display_get_error(m_display));
        m_notifier->setEnabled(false);
        return false;
    }
    return true;
}

bool WaylandConnection::isAlive() const
{
    return wl_display_get_error(m_display) == 0;
}

void WaylandConnection::readEvents()
{
    // A round trip may have read the socket since the notifier fired, so the read never waits.
    while (wl_display_prepare_read(m_display) != 0) {
        wl_display_dispatch_pending(m_display);
    }
    pollfd readable{wl_display_get_fd(m_display), POLLIN, 0};
    if (::poll(&readable, 1, 0) > 0) {
        wl_display_read_events(m_display);
    } else {
        wl_display_cancel_read(m_display);
    }
    if (wl_display_dispatch_pending(m_display) < 0) {
        qCWarning(lcPlatform) << "The Wayland connection failed:" << std::strerror(wl_display_get_error(m_display));
        m_notifier->setEnabled(false);
        return;
    }
    wl_display_flush(m_display);
}

} // namespace vesk::app
