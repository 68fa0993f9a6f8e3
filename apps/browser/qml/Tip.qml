import QtQuick
import QtQuick.Templates as T
import Korvane.Browser

// What a button does, while the pointer rests on it or the keyboard is on it.
T.ToolTip {
    id: tip

    x: parent ? (parent.width - implicitWidth) / 2 : 0
    y: -implicitHeight - 2
    implicitWidth: contentItem.implicitWidth + 2 * Theme.unit
    implicitHeight: 28
    margins: 4
    closePolicy: T.Popup.NoAutoClose

    contentItem: Label {
        text: tip.text
        font.pixelSize: 12
        horizontalAlignment: Text.AlignHCenter
    }
    background: Rectangle {
        radius: 6
        antialiasing: true
        color: Theme.sheet
        border.color: Theme.pressed
    }
}
