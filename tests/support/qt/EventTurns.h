#pragma once

#include <QCoreApplication>
#include <functional>

#include "korvane/base/Scheduler.h"

namespace korvane {

/// Turns a real event loop until `done`. False after 20,000 turns, of which none waits longer than 1 ms.
inline bool turnUntil(Scheduler& scheduler, const std::function<bool()>& done) {
    for (int turn = 0; turn < 20'000 && !done(); ++turn) {
        scheduler.after(std::chrono::milliseconds(1), [] {});
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return done();
}

}  // namespace korvane
