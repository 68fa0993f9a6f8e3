#include "korvane/calendar/CalendarTypes.h"

#include "korvane/toolkit/InterfaceLoader.h"

// The registration that the build generates for the module.
void qml_register_types_Korvane_Calendar();

namespace korvane {

void registerCalendarTypes() {
    static const bool once = [] {
        InterfaceLoader::registerTypes();
        qml_register_types_Korvane_Calendar();
        return true;
    }();
    static_cast<void>(once);
}

}  // namespace korvane
