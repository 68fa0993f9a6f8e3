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

    // A shortcut of the host's must not take the keys of a calendar that has the focus.
    function keep(event) {
        const keys = [Qt.Key_Left, Qt.Key_Right, Qt.Key_Up, Qt.Key_Down, Qt.Key_Home, Qt.Key_End, Qt.Key_PageUp,
            Qt.Key_PageDown, Qt.Key_Return, Qt.Key_Enter, Qt.Key_Space]
        if (hasClose)
            keys.push(Qt.Key_Escape)
        const isOther = event.modifiers & (Qt.ControlModifier | Qt.AltModifier | Qt.MetaModifier)
        event.accepted = !isOther && keys.includes(event.key)
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
