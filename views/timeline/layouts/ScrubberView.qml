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
    property real value: 0
    property real minimumValue: 1
    property real maximumValue: 1
    property string spokenTime
    property string spokenDetails

    Accessible.role: Accessible.Slider
    Accessible.name: spokenTime
    Accessible.description: spokenDetails

    Rectangle {
        id: strip

        anchors.fill: parent
        color: "#ffffff"
        clip: true

        ScrubberCollectionView {
            id: events

            anchors.fill: parent
        }

        ScrubberMark {
            id: mark

            width: scrubberCenterMarkViewWidth.seen
        }
    }
}
