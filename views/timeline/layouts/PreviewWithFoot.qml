import QtQuick
import Korvane.Toolkit
import Korvane.Timeline

// The preview over a foot with icon and time; the bar between them shows how far the entry has played.
Item {
    id: box

    property real progress: 0
    readonly property alias preview: preview
    readonly property alias icon: icon
    readonly property alias date: date
    readonly property alias favourite: favourite
    // Large fonts get the room that they need, and leave half of the cell to the picture.
    readonly property real footHeight: Math.max(Math.min(26, height / 3), Math.min(date.implicitHeight + 8, height / 2))
    readonly property real margin: 7

    ImageView {
        id: preview

        width: parent.width
        height: parent.height - box.footHeight
    }

    Rectangle {
        anchors.bottom: preview.bottom
        width: Math.min(box.progress, preview.width)
        height: 3
        visible: width > 0
        color: "#e5484d"
    }

    ImageView {
        id: icon

        x: box.margin
        y: preview.height + Math.round((box.footHeight - height) / 2)
        width: 14
        height: 14
        contentMode: ImageView.AspectFit
    }

    ScrubberLabel {
        id: date

        x: icon.x + icon.width + 5
        y: preview.height
        width: favourite.x - x
        height: box.footHeight
        // A group's number stands at the end, and says more than the seconds before it.
        elide: text.endsWith(")") ? Text.ElideMiddle : Text.ElideRight
    }

    Item {
        id: favourite

        property color backgroundColor: "transparent"

        x: parent.width - box.margin - width
        y: preview.height
        width: 0
        height: box.footHeight
    }
}
