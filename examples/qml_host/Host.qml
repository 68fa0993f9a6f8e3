import QtQuick
import Korvane.Timeline

Rectangle {
    required property string token

    width: 900
    height: 170
    color: "#14161a"
    focus: true
    Keys.onLeftPressed: strip.toPreviousEvent()
    Keys.onRightPressed: strip.toNextEvent()
    Keys.onDeletePressed: strip.deleteEvent(strip.currentEventInfo())
    Keys.onPressed: event => {
        if (event.key === Qt.Key_Home)
            strip.toFirstEvent()
        else if (event.key === Qt.Key_End)
            strip.toLastEvent()
    }

    ScrubberView {
        id: strip

        anchors {
            left: parent.left
            right: parent.right
            top: parent.top
        }
        height: 130
        source: parent.token
        config.cellWidth: 150
        config.cellSeparatorWidth: 2
        config.backgroundColor: "#14161a"
        config.backgroundCellColor: "#1d2026"
        config.dateTimeTextColor: "#d7dae0"
        config.eventTypeTintColor: "#9aa3b2"
        config.liveViewTextColor: "#d7dae0"
        onScrubberDidSelectEvent: event => line.text = event.valid ? event.name + " " + event.time : ""
        onScrubberStateChanged: (from, toState, withStatus) => line.text = "status " + withStatus
    }

    Text {
        id: line

        anchors {
            left: parent.left
            bottom: parent.bottom
            margins: 12
        }
        color: "#d7dae0"
        text: strip.sourceStatus === 0 ? "" : "the token was refused with status " + strip.sourceStatus
    }

    Row {
        anchors {
            right: parent.right
            bottom: parent.bottom
            margins: 12
        }
        spacing: 24

        Repeater {
            model: [
                { name: "previous", run: () => strip.toPreviousEvent() },
                { name: "next", run: () => strip.toNextEvent() }
            ]

            Text {
                required property var modelData

                color: "#d7dae0"
                text: modelData.name

                TapHandler {
                    onTapped: modelData.run()
                }
            }
        }
    }
}
