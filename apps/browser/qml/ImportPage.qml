import QtQuick
import Korvane.Browser

// Before there is something to browse: asks for a folder, or tells how its import goes.
FocusScope {
    id: page

    required property ImportModel model
    readonly property bool isAsking: model.folder.length === 0
    readonly property bool isFaulty: model.fault.length > 0
    signal folderWanted

    Flickable {
        anchors.fill: parent
        contentHeight: column.height + 6 * Theme.unit
        boundsBehavior: Flickable.StopAtBounds

        Column {
            id: column

            x: (parent.width - width) / 2
            y: Math.max(3 * Theme.unit, (page.height - height) / 2)
            width: Math.min(440, page.width - 6 * Theme.unit)
            spacing: 2 * Theme.unit

            Label {
                width: parent.width
                text: page.isFaulty ? "Nothing to browse" : page.isAsking ? "Browse a folder of recordings"
                                                          : "Importing " + page.model.folder
                font.pixelSize: 20
                font.weight: Font.Bold
                elide: Text.ElideMiddle
            }
            Label {
                width: parent.width
                visible: page.isFaulty
                text: page.model.fault
                wrapMode: Text.Wrap
                lineHeight: 1.3
                color: Theme.fault
            }
            Label {
                width: parent.width
                visible: page.isFaulty || page.isAsking
                text: page.isAsking ? "Open the folder in which a camera keeps its video files, or drop it here."
                                    : "Recordings that come into the folder show here by themselves."
                wrapMode: Text.Wrap
                lineHeight: 1.3
                color: Theme.secondary
            }
            Item {
                width: parent.width
                height: 4
                visible: !page.isFaulty && !page.isAsking

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
                visible: !page.isFaulty && !page.isAsking

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
                        : page.model.isWaiting ? "Another window imports this folder" : "Looking for recordings"
                    font.pixelSize: 12
                    color: Theme.faint
                }
            }
            TextButton {
                visible: page.isFaulty || page.isAsking
                focus: true
                strong: true
                text: "Open a folder\u2026"
                onClicked: page.folderWanted()
            }
            Column {
                id: recent

                width: parent.width
                visible: (page.isFaulty || page.isAsking) && page.model.recent.length > 0

                Label {
                    text: "Opened before"
                    bottomPadding: Theme.unit
                    font.pixelSize: 12
                    color: Theme.faint
                }
                Repeater {
                    model: page.model.recent
                    TextButton {
                        required property string modelData

                        width: recent.width
                        height: 36
                        quiet: true
                        text: modelData
                        onClicked: page.model.choosePath(modelData)
                    }
                }
            }
        }
    }
}
