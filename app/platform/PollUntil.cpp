#include "app/platform/PollUntil.h"

#include <QElapsedTimer>
#include <QTimer>

namespace vesk::app {

void pollUntil(QObject* context, std::chrono::milliseconds interval, std::chrono::milliseconds limit,
               std::function<bool()> condition, std::function<void(bool)> done)
{
    auto* timer = new QTimer(context);
    QElapsedTimer elapsed;
    elapsed.start();
    QObject::connect(timer, &QTimer::timeout, timer,
                     [timer, elapsed, interval, limit, condition = std::move(condition), done = std::move(done)] {
                         const bool held = condition();
                         if (!held && elapsed.elapsed() < limit.count()) {
                             timer->setInterval(interval);
                             return;
                         }
                         timer->stop();
                         timer->deleteLater();
                         done(held);
                     });
    timer->start(0);
}

} // namespace vesk::app
