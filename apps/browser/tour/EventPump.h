#pragma once

#include <chrono>
#include <functional>

#include "korvane/base/Scheduler.h"

namespace korvane {

/// Runs the main event loop until `done` gives true. False when `bound` has passed first. Main thread only.
bool pumpEventsUntil(Scheduler& scheduler, const std::function<bool()>& done, std::chrono::milliseconds bound);

}  // namespace korvane
