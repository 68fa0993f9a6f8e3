import QtQuick
import Korvane.Browser

// Around what the keyboard is on; a mouse or a finger shows where it is by itself.
Rectangle {
    required property Item control

    anchors.fill: parent
    anchors.margins: -2
    visible: control.visualFocus
    radius: parent.radius + 2
    antialiasing: true
    color: "transparent"
    border.width: 2
    border.color: Theme.focus
}
