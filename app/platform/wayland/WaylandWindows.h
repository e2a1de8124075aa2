#pragma once

// The desktop's windows through the wlroots foreign-toplevel protocol (sway, Hyprland, labwc): which app
// has the focus, by its app id, and a request to give the focus back to it. Desktops without the protocol
// tell Vesk nothing about other apps' windows.

#include "app/platform/WindowSystem.h"

#include <QHash>
#include <QObject>
#include <memory>

struct zwlr_foreign_toplevel_handle_v1;
struct zwlr_foreign_toplevel_manager_v1;
struct wl_array;

namespace vesk::app {

class WaylandConnection;

class WaylandWindows : public QObject, public WindowSystem
{
    Q_OBJECT

public:
    explicit WaylandWindows(std::shared_ptr<WaylandConnection> connection);
    ~WaylandWindows() override;

    [[nodiscard]] bool knowsWindows() const;
    std::optional<WindowRef> activeWindow() override;
    void activate(const WindowRef& window, std::function<void(bool)> done) override;

    // The window description for an app id: the terminal's own name where the id names one
    // ("org.gnome.Terminal" is a Terminal), and a readable app name ("org.xfce.mousepad": "Mousepad").
    static WindowRef describe(quint64 id, const QString& appId);

private:
    struct Toplevel
    {
        quint64 id = 0;
        QString appId;
        bool activated = false;
    };

public:
    // Event handlers of the listener tables.
    static void toplevel(void* data, zwlr_foreign_toplevel_manager_v1* manager,
                         zwlr_foreign_toplevel_handle_v1* handle);
    static void appId(void* data, zwlr_foreign_toplevel_handle_v1* handle, const char* appId);
    static void state(void* data, zwlr_foreign_toplevel_handle_v1* handle, wl_array* states);
    static void closed(void* data, zwlr_foreign_toplevel_handle_v1* handle);

private:
    std::shared_ptr<WaylandConnection> m_connection;
    QHash<zwlr_foreign_toplevel_handle_v1*, Toplevel> m_toplevels;
    quint64 m_nextId = 1;
    QObject m_timers;
};

} // namespace vesk::app
