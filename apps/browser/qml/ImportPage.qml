import QtQuick
import Korvane.Browser

Item {
    id: page

    required property ImportModel model

    Column {
        anchors.centerIn: parent
        width: Math.min(440, parent.width - 6 * Theme.unit)
        spacing: 2 * Theme.unit

        Label {
            width: parent.width
            text: page.model.fault.length > 0 ? "Nothing to browse" : "Importing " + page.model.folder
            font.pixelSize: 20
            font.weight: Font.Bold
            elide: Text.ElideMiddle
        }
        Label {
            width: parent.width
            visible: page.model.fault.length > 0
            text: page.model.fault
            wrapMode: Text.Wrap
            lineHeight: 1.3
            color: Theme.fault
        }
        Label {
            width: parent.width
            visible: page.model.fault.length > 0
            text: "Recordings that come into the folder show here by themselves."
            wrapMode: Text.Wrap
            color: Theme.secondary
        }
        Item {
            width: parent.width
            height: 4
            visible: page.model.fault.length === 0

            Rectangle {
                anchors.fill: parent
                radius: 2
                antialiasing: true
                color: Theme.raised
            }
            Rectangle {
                width: Math.max(height, parent.width * page.model.fraction)
                height: parent.height
                radius: 2
                antialiasing: true
                color: Theme.accent
            }
        }
        Item {
            width: parent.width
            height: 18
            visible: page.model.fault.length === 0

            Label {
                anchors.left: parent.left
                anchors.right: done.left
                anchors.rightMargin: 2 * Theme.unit
                height: parent.height
                text: page.model.file
                elide: Text.ElideMiddle
                font.pixelSize: 12
                color: Theme.secondary
            }
            Label {
                id: done

                anchors.right: parent.right
                height: parent.height
                text: page.model.filesTotal > 0 ? page.model.filesDone + " of " + page.model.filesTotal
                    : page.model.isWaiting ? "Waiting for another window" : "Looking for recordings"
                font.pixelSize: 12
                color: Theme.faint
            }
        }
    }
}
