#pragma once

namespace korvane {

/// Makes the QML module Korvane.Timeline known to all engines of the process; a QML host calls it before it loads a
/// file that imports the module. Widgets made from C++ do it themselves. Any number of calls. Main thread.
void registerTimelineTypes();

}  // namespace korvane
