import QtQuick
import Korvane.Toolkit
import Korvane.Timeline
import Korvane.Timeline as Timeline

Rectangle {
    id: ruler

    property TimelineSlider timeLineSlider: slider
    property Item leftBtn: left
    property Item rightBtn: right
    property Item calendarBtn: calendar
    property Timeline.CalendarContainer calendarController: Timeline.CalendarContainer {}
    property Item calendarView: calendarController.calendarView
    property Item scaleControl: scale
    property LayoutConstraint leftButtonWidth: LayoutConstraint {
        constant: 30
    }
    property LayoutConstraint rightButtonWidth: LayoutConstraint {
        constant: 30
    }
    property LayoutConstraint calendarButtonWidth: LayoutConstraint {
        constant: 40
    }
    property LayoutConstraint scaleControlWidth: LayoutConstraint {
        constant: 60
    }
    property real value: 0
    property real minimumValue: 0
    property real maximumValue: 0
    property string spokenTime
    property string spokenDetails

    color: "#ffffff"

    Accessible.role: Accessible.Slider
    Accessible.name: spokenTime
    Accessible.description: spokenDetails

    // First in the row, so that the panel by its side, which counts its place twice, is in the window.
    RulerButton {
        id: calendar

        width: ruler.calendarButtonWidth.seen
        height: parent.height
        spokenName: "Calendar"
    }

    RulerButton {
        id: left

        anchors.left: calendar.right
        width: ruler.leftButtonWidth.seen
        height: parent.height
        title: "‹"
        spokenName: "A screen earlier"
    }

    TimelineSlider {
        id: slider

        anchors.left: left.right
        anchors.right: right.left
        height: parent.height
    }

    RulerButton {
        id: right

        anchors.right: scale.left
        width: ruler.rightButtonWidth.seen
        height: parent.height
        title: "›"
        spokenName: "A screen later"
    }

    RulerButton {
        id: scale

        anchors.right: parent.right
        width: ruler.scaleControlWidth.seen
        height: parent.height
        framed: true
        spokenName: "Scale: " + title
    }
}
