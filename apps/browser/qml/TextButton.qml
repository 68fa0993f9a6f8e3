import QtQuick
import QtQuick.Templates as T
import Korvane.Browser

T.Button {
    id: button

    property bool strong: false
    // Without a border, and its text begins at the left.
    property bool quiet: false
    property color face: "transparent"

    implicitWidth: Math.max(96, contentItem.implicitWidth + 4 * Theme.unit)
    implicitHeight: 44
    opacity: enabled ? 1 : 0.32
    hoverEnabled: true
    focusPolicy: Qt.TabFocus

    Keys.onReturnPressed: event => { if (!event.isAutoRepeat) clicked() }
    Keys.onEnterPressed: event => { if (!event.isAutoRepeat) clicked() }

    background: Rectangle {
        radius: height / 2
        antialiasing: true
        color: button.down ? Theme.pressed : button.hovered ? Theme.hovered : button.face
        border.width: button.quiet ? 0 : 1
        border.color: button.strong ? Theme.accent : Theme.pressed

        FocusRing { control: button }
    }
    contentItem: Label {
        text: button.text
        horizontalAlignment: button.quiet ? Text.AlignLeft : Text.AlignHCenter
        elide: button.quiet ? Text.ElideMiddle : Text.ElideNone
        color: button.strong ? Theme.accent : Theme.text
        font.weight: button.strong ? Font.Bold : Font.Normal
    }
}
