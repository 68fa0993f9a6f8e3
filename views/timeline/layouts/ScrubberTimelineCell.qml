import QtQuick
import Korvane.Toolkit
import Korvane.Timeline

// A piece of the drawn scale. With events and recordings a preview lies on it.
ScrubberTimelineCell {
    property ScrubberTimelineCellCustomView containerView: scale
    property Item previewContainerView: box
    property ImageView previewImageView: box.preview
    property Item liveViewLabel: live
    property ImageView eventTypeImageView: box.icon
    property Item eventDateTimeaLabel: box.date
    property Item favariteImageView: box.favourite
    property LayoutConstraint progress: LayoutConstraint {}

    ScrubberTimelineCellCustomView {
        id: scale

        anchors.fill: parent
    }

    PreviewWithFoot {
        id: box

        anchors.fill: parent
        anchors.margins: 2
        visible: false
        clip: true
        progress: parent.progress.seen
    }

    ScrubberLabel {
        id: live

        x: 14
        width: Math.max(0, parent.width - x)
        height: parent.height
        visible: false
    }
}
