import QtQuick
import Korvane.Browser

// What a button does, while the pointer rests on it. Stands above its parent, within the window.
Rectangle {
    id: tip

    property alias text: label.text
    property bool isWanted: false

    function show() {
        const left = parent.mapToItem(null, 0, 0).x
        const right = parent.Window.width - left - width
        x = Math.max(4 - left, Math.min((parent.width - width) / 2, right - 4))
        visible = true
    }

    visible: false
    y: -height - 2
    z: 1
    width: label.implicitWidth + 2 * Theme.unit
    height: 28
    radius: 6
    antialiasing: true
    color: Theme.raised
    border.color: Theme.pressed

    onIsWantedChanged: if (!isWanted) visible = false

    SequentialAnimation {
        running: tip.isWanted && tip.text.length > 0

        PauseAnimation { duration: 600 }
        ScriptAction { script: tip.show() }
    }
    Label {
        id: label

        anchors.centerIn: parent
        font.pixelSize: 12
    }
}
