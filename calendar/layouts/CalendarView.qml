import QtQuick
import Korvane.Calendar

// The ground of a calendar, and its page while there is a month to show.
Rectangle {
    id: ground

    property CalendarMonthModel model
    property bool hasPage: false
    property bool hasMonths: true
    property bool hasClose: true
    property bool isLoading: false
    property color backgroundColor: "#ffffff"
    property color textColor: "#1c1f24"
    property color markColor: "#2f6fdb"
    property color accentColor: "#2f6fdb"
    property bool showsCursor: false

    function faint(opacity) {
        return Qt.rgba(textColor.r, textColor.g, textColor.b, textColor.a * opacity)
    }

    color: backgroundColor

    Loader {
        anchors.fill: parent
        focus: true
        active: ground.hasPage
        sourceComponent: CalendarPage {
            model: ground.model
            look: ground
        }
    }
}
