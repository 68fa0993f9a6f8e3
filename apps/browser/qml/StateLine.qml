import QtQuick
import Korvane.Browser

// Whose footage this is, how things stand, and how much there is.
Item {
    id: line

    required property Browser browser

    implicitHeight: 56

    readonly property bool isTrouble: browser.mood === Browser.Fault || browser.mood === Browser.Warning
    readonly property color moodColor: isTrouble ? Theme.fault
                                     : browser.player.state === RecordingPlayer.Playing ? Theme.accent : Theme.faint

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

        anchors.left: lamp.right
        anchors.leftMargin: Theme.unit
        anchors.right: count.left
        anchors.rightMargin: 2 * Theme.unit
        y: 9
        height: 20
        text: line.browser.cameraName.length > 0 ? line.browser.cameraName : "Camera"
        font.pixelSize: 15
        font.weight: Font.Bold
    }
    Label {
        anchors.left: name.left
        anchors.right: zone.left
        anchors.rightMargin: 2 * Theme.unit
        y: 29
        height: 18
        text: line.browser.message
        font.pixelSize: 12
        color: line.isTrouble ? Theme.fault : Theme.secondary
    }
    Label {
        id: count

        anchors.right: parent.right
        anchors.rightMargin: 2 * Theme.unit
        y: 9
        height: 20
        text: line.browser.count
        color: Theme.secondary
    }
    Label {
        id: zone

        anchors.right: parent.right
        anchors.rightMargin: 2 * Theme.unit
        y: 29
        height: 18
        text: line.browser.zone.replace(/_/g, " ")
        font.pixelSize: 12
        color: Theme.faint
    }
    Rectangle {
        anchors.bottom: parent.bottom
        width: parent.width
        height: 1
        color: Theme.separator
    }
}
