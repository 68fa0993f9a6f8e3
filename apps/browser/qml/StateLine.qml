import QtQuick
import Korvane.Browser

// Whose footage this is, how things stand, and how much there is. In a low window all stands in one line.
Item {
    id: line

    required property Browser browser
    property bool isLow: false
    signal settingsWanted
    signal helpWanted

    implicitHeight: isLow ? 40 : 56

    readonly property bool isTrouble: browser.mood === Browser.Fault || browser.mood === Browser.Warning
    readonly property color moodColor: isTrouble ? Theme.fault
                                     : browser.player.state === RecordingPlayer.Playing ? Theme.accent : Theme.faint
    readonly property int firstTop: isLow ? 10 : 9
    readonly property int secondTop: isLow ? 11 : 29

    Rectangle {
        id: lamp

        x: 2 * Theme.unit
        y: Math.round(name.y + (name.height - height) / 2)
        width: 8
        height: 8
        radius: 4
        antialiasing: true
        color: line.moodColor

        SequentialAnimation on opacity {
            running: line.browser.mood === Browser.Busy
            loops: Animation.Infinite
            onRunningChanged: if (!running) lamp.opacity = 1
            NumberAnimation { to: 0.25; duration: 500; easing.type: Easing.InOutQuad }
            NumberAnimation { to: 1; duration: 500; easing.type: Easing.InOutQuad }
        }
    }
    Label {
        id: name

        readonly property real most: (line.isLow ? buttons.x / 2 : count.x) - x - 2 * Theme.unit

        x: lamp.x + lamp.width + Theme.unit
        y: line.firstTop
        width: Math.min(implicitWidth, most)
        height: 20
        text: line.browser.cameraName.length > 0 ? line.browser.cameraName : "Camera"
        font.pixelSize: 15
        font.weight: Font.Bold
    }
    Label {
        anchors.left: line.isLow ? name.right : name.left
        anchors.leftMargin: line.isLow ? 2 * Theme.unit : 0
        anchors.right: line.isLow ? count.left : zone.left
        anchors.rightMargin: 2 * Theme.unit
        y: line.secondTop
        height: 18
        text: line.browser.message
        font.pixelSize: 12
        color: line.isTrouble ? Theme.fault : Theme.secondary
    }
    Label {
        id: count

        anchors.right: buttons.left
        anchors.rightMargin: Theme.unit
        y: line.firstTop
        height: 20
        text: line.browser.count
        color: Theme.secondary
    }
    Label {
        id: zone

        anchors.right: buttons.left
        anchors.rightMargin: Theme.unit
        visible: !line.isLow
        y: line.secondTop
        width: Math.min(implicitWidth, line.width / 3)
        height: 18
        text: line.browser.zone.replace(/_/g, " ")
        font.pixelSize: 12
        color: Theme.faint
    }
    Row {
        id: buttons

        anchors.right: parent.right
        anchors.rightMargin: 4
        anchors.verticalCenter: parent.verticalCenter

        IconButton {
            visible: line.width >= 600
            touchSize: line.isLow ? 40 : 48
            quiet: true
            shape: Glyph.Help
            tip: "Keys (?)"
            onClicked: line.helpWanted()
        }
        IconButton {
            touchSize: line.isLow ? 40 : 48
            quiet: true
            shape: Glyph.Settings
            tip: "Settings (,)"
            onClicked: line.settingsWanted()
        }
    }
    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.separator
    }
}
