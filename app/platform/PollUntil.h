#pragma once

// Waiting for another program without blocking the event loop: the desktop answers through events we
// must keep processing.

#include <QObject>
#include <chrono>
#include <functional>

namespace vesk::app {

// Checks `condition` on the next turn of the event loop, then every `interval`, until it holds or `limit`
// has passed; then calls `done` with whether it held. Nothing is called once `context` is destroyed.
void pollUntil(QObject* context, std::chrono::milliseconds interval, std::chrono::milliseconds limit,
               std::function<bool()> condition, std::function<void(bool)> done);

} // namespace vesk::app
