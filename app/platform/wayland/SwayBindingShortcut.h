#pragma once

// The shortcut on sway and other compositors that speak i3's IPC: the user binds the keys to `vesk fix` in
// the compositor's config (registering is refused with the bind line to add). Starting that process costs
// the better part of 100 ms, but the compositor's IPC socket tells of the binding the moment it runs: the
// press is reported from there, and the `vesk fix` request that follows is claimed as part of it. While the
// socket is away (no IPC, the compositor restarting) the request alone starts the correction.
//
// Sway sends the binding's event in the same turn as it starts the command, before it reads anything the
// command could have caused; so a request with no press before it is settled by asking sway something: a
// binding event ahead of the answer is the request's own press, none means the request is the user's own.
// One press is one correction whichever arrives first, with no guessing by time.

#include "app/platform/RefusingGlobalShortcut.h"

#include <QByteArray>
#include <QTimer>
#include <chrono>
#include <deque>
#include <optional>

class QLocalSocket;

namespace vesk::app {

class SwayBindingShortcut : public RefusingGlobalShortcut
{
public:
    // One message of the IPC protocol: "i3-ipc", the payload's length and the type (both 32 bits, in the
    // machine's byte order), then the payload (JSON).
    struct Frame
    {
        quint32 type = 0;
        QByteArray payload;
    };
    static constexpr quint32 subscribeType = 2;
    static constexpr quint32 versionType = 7; // the cheapest question, asked to hear every event before it
    static constexpr quint32 bindingEvent = 0x80000005;

    // Listens on the IPC socket at `socketPath` (never when empty), reconnecting when it goes away.
    SwayBindingShortcut(Reason reason, const QString& socketPath, QObject* parent = nullptr);
    ~SwayBindingShortcut() override;

    bool claimFixRequest() override;

    // Bytes read from the socket; reports the presses of the bound `vesk fix` among them.
    void receive(const QByteArray& bytes);

    [[nodiscard]] static QByteArray encode(const Frame& frame);
    // The first whole frame at the front of `buffer`, taken off it; nothing while it is incomplete, and
    // nothing with `corrupt` set when the buffer cannot start with a frame (the stream is lost then).
    [[nodiscard]] static std::optional<Frame> takeFrame(QByteArray& buffer, bool& corrupt);
    // Whether a binding's command runs `vesk fix`: an `exec` in the command chain whose shell command ends
    // in the program `vesk` (by any path) with the argument `fix`.
    [[nodiscard]] static bool runsVeskFix(const QString& command);

private:
    void connectToCompositor();
    void lost();
    void handle(const Frame& frame);
    void bindingRan();
    void press();

    QString m_path;
    QLocalSocket* m_socket = nullptr;
    QByteArray m_buffer;
    bool m_subscribed = false;
    QTimer m_retry;
    std::chrono::milliseconds m_retryDelay;
    int m_unclaimedPresses = 0; // reported presses whose `vesk fix` has not come yet
    // Requests that came before any press, in the order of the questions asked about them; true once a
    // binding event has come for it.
    std::deque<bool> m_requestsAsking;
};

} // namespace vesk::app
