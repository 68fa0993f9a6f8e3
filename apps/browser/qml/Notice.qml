import QtQuick
import Korvane.Browser

// The files that the import could not take, until the person closes it.
Rectangle {
    id: notice

    required property var lines
    readonly property int shown: 4
    signal dismissed

    visible: lines.length > 0
    radius: Theme.unit
    antialiasing: true
    color: Theme.raised
    border.color: Theme.pressed
    width: Math.min(480, parent.width - 4 * Theme.unit)
    height: column.height + 4 * Theme.unit

    // Keeps touches from what lies below.
    MouseArea { anchors.fill: parent }
    Column {
        id: column

        x: 2 * Theme.unit
        y: 2 * Theme.unit
        width: parent.width - 4 * Theme.unit
        spacing: 6

        Label {
            width: parent.width - 32
            text: notice.lines.length === 1 ? "One file could not be imported"
                                            : notice.lines.length + " files could not be imported"
            font.weight: Font.Bold
        }
        Repeater {
            model: notice.lines.slice(0, notice.shown)
            Label {
                required property string modelData
                width: column.width
                text: modelData
                elide: Text.ElideMiddle
                font.pixelSize: 12
                color: Theme.secondary
            }
        }
        Label {
            visible: notice.lines.length > notice.shown
            text: "and " + (notice.lines.length - notice.shown) + " more"
            font.pixelSize: 12
            color: Theme.faint
        }
    }
    IconButton {
        anchors.top: parent.top
        anchors.right: parent.right
        quiet: true
        shape: Glyph.Close
        onClicked: notice.dismissed()
    }
}
