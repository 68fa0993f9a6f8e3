#include "korvane/views/timeline/TimelineTypes.h"

#include "korvane/calendar/CalendarTypes.h"

// The registration that the build generates for the module.
void qml_register_types_Korvane_Timeline();

namespace korvane {

void registerTimelineTypes() {
    static const bool once = [] {
        registerCalendarTypes();
        qml_register_types_Korvane_Timeline();
        return true;
    }();
    static_cast<void>(once);
}

}  // namespace korvane
