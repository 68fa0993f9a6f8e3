import QtQuick
import Korvane.Browser

// The picture with the captions over it.
Rectangle {
    id: stage

    required property Browser browser
    readonly property bool hasPicture: video.hasFrame && video.visible

    color: Theme.stage

    VideoSurface {
        id: video

        anchors.fill: parent
        visible: stage.browser.player.state !== RecordingPlayer.Idle
        sink: stage.browser.player.sink
    }
    // Dims a picture that has a caption over it or is not of the moment under the mark.
    Rectangle {
        anchors.fill: parent
        color: "#000000"
        opacity: stage.browser.isFlyingOver ? 0.55 : liveCaption.visible || faultCaption.visible ? 0.55 : 0
        Behavior on opacity { NumberAnimation { duration: 120 } }
    }
    MouseArea {
        anchors.fill: parent
        onClicked: stage.browser.togglePlaying()
    }
    Label {
        anchors.centerIn: parent
        visible: !stage.hasPicture && !faultCaption.visible
        text: stage.browser.mood === Browser.Busy ? "" : "No picture"
        color: Theme.faint
    }
    Caption {
        id: faultCaption

        anchors.centerIn: parent
        visible: stage.browser.mood === Browser.Fault && !stage.browser.isFlyingOver
                 && stage.browser.player.state !== RecordingPlayer.Playing
        title: "Nothing to play"
        text: stage.browser.message
    }
    Caption {
        id: liveCaption

        anchors.centerIn: parent
        visible: stage.browser.isLive && !stage.browser.isFlyingOver && stage.hasPicture && !faultCaption.visible
                 && stage.browser.player.state !== RecordingPlayer.Playing
        title: "Live"
        text: "No live picture. This is the newest recording."
    }
    Caption {
        anchors.centerIn: parent
        visible: stage.browser.isFlyingOver
        title: stage.browser.time
        text: stage.browser.date
        titleSize: 40
    }
}
