import QtQuick
import Korvane.Toolkit
import Korvane.Timeline

ScrubberCell {
    property Item conatinerView: container
    property ImageView previewImageView: box.preview
    property Item liveViewLabel: live
    property ImageView eventTypeImageView: box.icon
    property Item eventDateTimeaLabel: box.date
    property Item favariteImageView: box.favourite
    property LayoutConstraint progress: LayoutConstraint {}

    Rectangle {
        id: container

        anchors.fill: parent
        // The live cell is narrower than what it shows to the right of the mark.
        anchors.rightMargin: live.visible ? -32 : 0
        clip: true

        PreviewWithFoot {
            id: box

            anchors.fill: parent
            progress: parent.parent.progress.seen
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
