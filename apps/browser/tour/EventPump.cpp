#include "korvane/apps/browser/tour/EventPump.h"

#include <QCoreApplication>
#include <QEventLoop>

namespace korvane {

bool pumpEventsUntil(Scheduler& scheduler, const std::function<bool()>& done, std::chrono::milliseconds bound) {
    const auto limit = scheduler.monotonicNow() + bound;
    while (!done()) {
        if (scheduler.monotonicNow() >= limit) return false;
        // Wakes the loop, since a condition may come true without an event.
        const auto tick = scheduler.after(std::chrono::milliseconds(10), [] {});
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        scheduler.cancel(tick);
    }
    return true;
}

}  // namespace korvane
