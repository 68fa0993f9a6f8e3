import QtQuick
import Korvane.Browser

// A round button of one icon, or of a few words, large enough for a finger. With both it is a pill.
Item {
    id: button

    property alias shape: glyph.shape
    property alias hasIcon: glyph.visible
    property alias text: words.text
    property string tip
    property bool quiet: false
    property bool checkable: false
    property bool checked: false
    property int touchSize: 48
    signal clicked

    readonly property bool isPill: hasIcon && words.visible
    readonly property color faceColor: touch.pressed ? Theme.pressed : touch.containsMouse ? Theme.hovered : Theme.raised
    readonly property color inkColor: checked ? Theme.text : quiet ? Theme.secondary : Theme.text

    width: Math.max(touchSize, face.width + 4)
    height: touchSize
    opacity: enabled ? 1 : 0.32

    Accessible.role: Accessible.Button
    Accessible.name: tip
    Accessible.checkable: checkable
    Accessible.checked: checked
    Accessible.onPressAction: if (enabled) clicked()

    Rectangle {
        id: face

        anchors.centerIn: parent
        width: button.isPill ? content.width + 26 : 40
        height: 40
        radius: 20
        antialiasing: true
        color: button.faceColor
        visible: !button.quiet || button.checked || touch.pressed || touch.containsMouse
    }
    Row {
        id: content

        anchors.centerIn: parent
        spacing: 7

        Glyph {
            id: glyph

            anchors.verticalCenter: parent.verticalCenter
            width: 20
            height: 20
            color: button.checked ? Theme.accent : button.inkColor
        }
        Label {
            id: words

            anchors.verticalCenter: parent.verticalCenter
            visible: text.length > 0
            font.pixelSize: 12
            color: button.inkColor
        }
    }
    MouseArea {
        id: touch

        anchors.fill: parent
        hoverEnabled: true
        onEntered: tipLabel.isDue = true
        onPressed: tipLabel.isDue = false
        onClicked: button.clicked()
    }
    Tip {
        id: tipLabel

        property bool isDue: true

        text: button.tip
        isWanted: touch.containsMouse && isDue
    }
}
