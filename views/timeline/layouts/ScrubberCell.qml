import QtQuick
import Korvane.Toolkit
import Korvane.Timeline

// The preview over a foot with icon and time; the bar between them shows how far the entry has played.
ScrubberCell {
    id: cell

    property Item conatinerView: container
    property ImageView previewImageView: preview
    property Item liveViewLabel: live
    property ImageView eventTypeImageView: icon
    property Item eventDateTimeaLabel: date
    property Item favariteImageView: favourite
    property LayoutConstraint progress: LayoutConstraint {}

    readonly property real footHeight: Math.min(26, height / 3)
    readonly property real margin: 7

    Rectangle {
        id: container

        anchors.fill: parent
        clip: true

        ImageView {
            id: preview

            width: parent.width
            height: parent.height - cell.footHeight
        }

        Rectangle {
            anchors.bottom: preview.bottom
            width: Math.min(cell.progress.seen, preview.width)
            height: 3
            visible: width > 0
            color: "#e5484d"
        }

        ImageView {
            id: icon

            x: cell.margin
            y: preview.height + Math.round((cell.footHeight - height) / 2)
            width: 14
            height: 14
            contentMode: ImageView.AspectFit
        }

        ScrubberLabel {
            id: date

            x: icon.x + icon.width + 5
            y: preview.height
            width: favourite.x - x
            height: cell.footHeight
        }

        Item {
            id: favourite

            property color backgroundColor: "transparent"

            x: parent.width - cell.margin - width
            y: preview.height
            width: 0
            height: cell.footHeight
        }

        ScrubberLabel {
            id: live

            x: 14
            width: Math.max(0, parent.width - x)
            height: parent.height
            visible: false
        }
    }
}
