#pragma once

// Vesk's own connection to the Wayland compositor, beside Qt's: the protocols that let a program without
// focus type and use the clipboard are bound here, and their events are read on the event loop.

#include <QObject>
#include <QString>
#include <QStringList>
#include <memory>

struct wl_display;
struct wl_registry;
struct wl_seat;
struct zwp_virtual_keyboard_manager_v1;
struct zwlr_data_control_manager_v1;
struct zwlr_foreign_toplevel_manager_v1;
class QSocketNotifier;

namespace vesk::app {

class WaylandConnection : public QObject
{
    Q_OBJECT

public:
    // Connects to WAYLAND_DISPLAY and learns what the compositor offers; nullptr when there is no compositor.
    static std::unique_ptr<WaylandConnection> connect();
    ~WaylandConnection() override;

    [[nodiscard]] wl_display* display() const { return m_display; }
    [[nodiscard]] wl_seat* seat() const { return m_seat; }
    [[nodiscard]] zwp_virtual_keyboard_manager_v1* virtualKeyboards() const { return m_virtualKeyboards; }
    [[nodiscard]] zwlr_data_control_manager_v1* dataControl() const { return m_dataControl; }
    [[nodiscard]] zwlr_foreign_toplevel_manager_v1* toplevels() const { return m_toplevels; }
    // Every global interface the compositor announced, for the log and the per-desktop report.
    [[nodiscard]] const QStringList& interfaces() const { return m_interfaces; }

    // Sends what was queued. Requests are only written to the socket here or in roundTrip().
    void flush();
    // Waits until the compositor has handled every request so far, handling the events it sends meanwhile.
    bool roundTrip();
    // False once the compositor closed the connection or reported a protocol error.
    [[nodiscard]] bool isAlive() const;

private:
    explicit WaylandConnection(wl_display* display);
    void readEvents();

public:
    // Event handlers of the listener tables.
    static void global(void* data, wl_registry* registry, uint32_t name, const char* interface, uint32_t version);
    static void globalRemoved(void* data, wl_registry* registry, uint32_t name);

private:
    wl_display* m_display = nullptr;
    wl_registry* m_registry = nullptr;
    wl_seat* m_seat = nullptr;
    zwp_virtual_keyboard_manager_v1* m_virtualKeyboards = nullptr;
    zwlr_data_control_manager_v1* m_dataControl = nullptr;
    zwlr_foreign_toplevel_manager_v1* m_toplevels = nullptr;
    QStringList m_interfaces;
    QSocketNotifier* m_notifier = nullptr;
};

} // namespace vesk::app
