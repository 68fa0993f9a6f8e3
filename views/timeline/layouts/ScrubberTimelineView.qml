import QtQuick
import Korvane.Toolkit
import Korvane.Timeline

Item {
    property Item conatinerForScrubberEvents: strip
    property ScrubberTimelineCollectionView scrubberEventsCollectionView: events
    property Item scrubberCenterMarkView: mark
    property LayoutConstraint scrubberCenterMarkViewWidth: LayoutConstraint {
        constant: 3
    }

    Rectangle {
        id: strip

        anchors.fill: parent
        color: "#ffffff"
        clip: true

        ScrubberTimelineCollectionView {
            id: events

            anchors.fill: parent
        }

        ScrubberMark {
            id: mark

            width: scrubberCenterMarkViewWidth.seen
        }
    }
}
