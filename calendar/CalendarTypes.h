#pragma once

namespace korvane {

/// Makes the QML module Korvane.Calendar known to all engines of the process; a QML host calls it before it loads a
/// file that imports the module. Calendars made from C++ do it themselves. Any number of calls. Main thread.
void registerCalendarTypes();

}  // namespace korvane
