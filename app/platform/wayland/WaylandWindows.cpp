#include "app/platform/wayland/WaylandWindows.h"

#include "app/platform/PollUntil.h"
#include "app/platform/TerminalKeys.h"
#include "app/platform/wayland/WaylandConnection.h"
#include "wlr-foreign-toplevel-management-unstable-v1-client.h"

#include <QTimer>
#include <wayland-client.h>

namespace vesk::app {
namespace {

WaylandWindows* self(void* data)
{
    return static_cast<WaylandWindows*>(data);
}

const zwlr_foreign_toplevel_manager_v1_listener managerListener = {
    WaylandWindows::toplevel,
    [](void*, zwlr_foreign_toplevel_manager_v1*) {},
};

const zwlr_foreign_toplevel_handle_v1_listener handleListener = {
    [](void*, zwlr_foreign_toplevel_handle_v1*, const char*) {}, // title
    WaylandWindows::appId,
    [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
    [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
    WaylandWindows::state,
    [](void*, zwlr_foreign_toplevel_handle_v1*) {}, // done
    WaylandWindows::closed,
};

constexpr std::chrono::milliseconds activationWait{500};

} // namespace

WaylandWindows::WaylandWindows(std::shared_ptr<WaylandConnection> connection) : m_connection(std::move(connection))
{
    if (m_connection->toplevels() != nullptr) {
        zwlr_foreign_toplevel_manager_v1_add_listener(m_connection->toplevels(), &managerListener, this);
        m_connection->roundTrip(); // the windows open now, and their details
        m_connection->roundTrip();
    }
}

WaylandWindows::~WaylandWindows()
{
    for (auto it = m_toplevels.cbegin(); it != m_toplevels.cend(); ++it) {
        zwlr_foreign_toplevel_handle_v1_destroy(it.key());
    }
    m_connection->flush();
}

void WaylandWindows::toplevel(void* data, zwlr_foreign_toplevel_manager_v1*, zwlr_foreign_toplevel_handle_v1* handle)
{
    self(data)->m_toplevels.insert(handle, {self(data)->m_nextId++, {}, false});
    zwlr_foreign_toplevel_handle_v1_add_listener(handle, &handleListener, data);
}

void WaylandWindows::appId(void* data, zwlr_foreign_toplevel_handle_v1* handle, const char* appId)
{
    self(data)->m_toplevels[handle].appId = QString::fromUtf8(appId);
}

void WaylandWindows::state(void* data, zwlr_foreign_toplevel_handle_v1* handle, wl_array* states)
{
    bool activated = false;
    const auto* state = static_cast<const uint32_t*>(states->data);
    for (size_t i = 0; i < states->size / sizeof(uint32_t); ++i) {
        activated = activated || state[i] == ZWLR_FOREIGN_TOPLEVEL_HANDLE_V1_STATE_ACTIVATED;
    }
    self(data)->m_toplevels[handle].activated = activated;
}

void WaylandWindows::closed(void* data, zwlr_foreign_toplevel_handle_v1* handle)
{
    self(data)->m_toplevels.remove(handle);
    zwlr_foreign_toplevel_handle_v1_destroy(handle);
}

WindowRef WaylandWindows::describe(quint64 id, const QString& appId)
{
    WindowRef window;
    window.id = id;
    window.windowClass = appId;
    const QString lastPart = appId.section(u'.', -1);
    if (!isTerminalClass(appId) && isTerminalClass(lastPart)) {
        window.windowClass = lastPart;
    }
    window.isTerminal = isTerminalClass(window.windowClass);
    window.appName = lastPart.isEmpty() ? appId : lastPart.at(0).toUpper() + lastPart.mid(1);
    return window;
}

bool WaylandWindows::knowsWindows() const
{
    return m_connection->toplevels() != nullptr;
}

std::optional<WindowRef> WaylandWindows::activeWindow()
{
    if (!knowsWindows()) {
        return std::nullopt;
    }
    m_connection->roundTrip();
    for (const Toplevel& toplevel : std::as_const(m_toplevels)) {
        if (toplevel.activated) {
            return describe(toplevel.id, toplevel.appId);
        }
    }
    return std::nullopt;
}

void WaylandWindows::activate(const WindowRef& window, std::function<void(bool)> done)
{
    zwlr_foreign_toplevel_handle_v1* handle = nullptr;
    for (auto it = m_toplevels.cbegin(); it != m_toplevels.cend(); ++it) {
        if (it->id == window.id) {
            handle = it.key();
        }
    }
    if (handle == nullptr || m_connection->seat() == nullptr) {
        QTimer::singleShot(0, &m_timers, [done = std::move(done)] { done(false); });
        return;
    }
    zwlr_foreign_toplevel_handle_v1_activate(handle, m_connection->seat());
    m_connection->flush();
    pollUntil(
        &m_timers, std::chrono::milliseconds(10), activationWait,
        [this, handle] {
            m_connection->roundTrip();
            return m_toplevels.value(handle).activated;
        },
        std::move(done));
}

} // namespace vesk::app
