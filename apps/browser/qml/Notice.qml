import QtQuick
import QtQuick.Templates as T
import Korvane.Browser

// The files that the import could not take, until the person closes it.
T.Popup {
    id: notice

    required property var lines
    readonly property int shown: 4
    signal dismissed

    visible: lines.length > 0
    closePolicy: T.Popup.NoAutoClose
    padding: 2 * Theme.unit
    implicitHeight: contentItem.implicitHeight + 2 * padding

    background: Rectangle {
        radius: Theme.unit
        antialiasing: true
        color: Theme.sheet
        border.color: Theme.pressed
    }
    contentItem: Column {
        id: column

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
        parent: notice.background
        anchors.top: parent.top
        anchors.right: parent.right
        quiet: true
        shape: Glyph.Close
        tip: "Close"
        onClicked: notice.dismissed()
    }
}
