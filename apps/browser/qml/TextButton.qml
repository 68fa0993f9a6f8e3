import QtQuick
import Korvane.Browser

Rectangle {
    id: button

    property alias text: label.text
    property bool strong: false
    signal clicked

    width: Math.max(96, label.implicitWidth + 4 * Theme.unit)
    height: 44
    radius: 22
    antialiasing: true
    color: touch.pressed ? Theme.pressed : touch.containsMouse ? Theme.hovered : "transparent"
    border.color: strong ? Theme.accent : Theme.pressed

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.onPressAction: clicked()

    Label {
        id: label

        anchors.centerIn: parent
        color: button.strong ? Theme.accent : Theme.text
        font.weight: button.strong ? Font.Bold : Font.Normal
    }
    MouseArea {
        id: touch

        anchors.fill: parent
        hoverEnabled: true
        onClicked: button.clicked()
    }
}
