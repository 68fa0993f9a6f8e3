import QtQuick
import Korvane.Calendar

// The panel, and nothing around it.
Item {
    id: container

    property Item contentContainer: container
    property Item calendarContainer: panel
    property CalendarView calendarView: calendar

    Item {
        id: panel

        width: 320
        height: 240
        Accessible.role: Accessible.Dialog
        Accessible.name: "Calendar"

        Repeater {
            model: 6

            Rectangle {
                required property int index

                anchors.fill: panel
                anchors.margins: -2 * index
                anchors.topMargin: 2 - 2 * index
                anchors.bottomMargin: -2 - 2 * index
                radius: calendar.radius + 2 * index
                antialiasing: true
                color: "#000000"
                opacity: 0.045
            }
        }
        MouseArea {
            anchors.fill: parent
            hoverEnabled: true
            onWheel: wheel => wheel.accepted = true
        }
        CalendarView {
            id: calendar

            anchors.fill: parent
            radius: 12
        }
        Rectangle {
            anchors.fill: parent
            radius: calendar.radius
            antialiasing: true
            color: "transparent"
            border.color: Qt.rgba(calendar.textColor.r, calendar.textColor.g, calendar.textColor.b, 0.16)
        }
    }
}
