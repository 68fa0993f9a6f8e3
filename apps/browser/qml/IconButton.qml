import QtQuick
import Korvane.Browser

// A round button of one icon, large enough for a finger.
Item {
    id: button

    property alias shape: glyph.shape
    property bool quiet: false
    signal clicked

    width: 48
    height: 48

    Rectangle {
        anchors.centerIn: parent
        width: 40
        height: 40
        radius: 20
        antialiasing: true
        color: touch.pressed ? Theme.pressed : touch.containsMouse ? Theme.hovered : Theme.raised
        visible: !button.quiet || touch.pressed || touch.containsMouse
    }
    Glyph {
        id: glyph

        anchors.centerIn: parent
        width: 20
        height: 20
        color: button.enabled ? Theme.text : Theme.faint
    }
    MouseArea {
        id: touch

        anchors.fill: parent
        hoverEnabled: true
        onClicked: button.clicked()
    }
}
