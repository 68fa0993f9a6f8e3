import QtQuick
import Korvane.Toolkit
import Korvane.Timeline

Item {
    property Item conatinerForScrubberEvents: strip
    property ScrubberCollectionView scrubberEventsCollectionView: events
    property Item scrubberCenterMarkView: mark
    property LayoutConstraint scrubberCenterMarkViewWidth: LayoutConstraint {
        constant: 3
    }

    Rectangle {
        id: strip

        anchors.fill: parent
        color: "#ffffff"
        clip: true

        ScrubberCollectionView {
            id: events

            anchors.fill: parent
        }

        // Its geometry is what is reckoned with; what is seen of it stands on device pixels.
        Item {
            id: mark

            property alias color: line.color

            x: (parent.width - width) / 2
            width: scrubberCenterMarkViewWidth.seen
            height: parent.height

            Rectangle {
                id: line

                readonly property real ratio: Screen.devicePixelRatio

                x: Math.round(mark.x * ratio) / ratio - mark.x
                width: Math.max(1, Math.round(mark.width * ratio)) / ratio
                height: parent.height
                color: "#b82426"
            }
        }
    }
}
