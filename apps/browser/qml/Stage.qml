import QtQuick
import Korvane.Browser

// The picture, and what is said over it.
Rectangle {
    id: stage

    required property Browser browser

    color: Theme.stage

    VideoSurface {
        id: video

        anchors.fill: parent
        sink: stage.browser.player.sink
    }
    // A still picture that is not the live one steps back.
    Rectangle {
        anchors.fill: parent
        color: "#000000"
        opacity: stage.browser.isFlyingOver ? 0.55 : liveCaption.visible ? 0.35 : 0
        Behavior on opacity { NumberAnimation { duration: 120 } }
    }
    MouseArea {
        anchors.fill: parent
        onClicked: stage.browser.togglePlaying()
    }
    Label {
        anchors.centerIn: parent
        visible: !video.hasFrame
        text: stage.browser.mood === Browser.Fault ? "" : "No picture"
        color: Theme.faint
    }
    Caption {
        id: liveCaption

        anchors.centerIn: parent
        visible: stage.browser.isLive && !stage.browser.isFlyingOver && video.hasFrame
                 && stage.browser.player.state !== RecordingPlayer.Playing
        title: "Live"
        text: "There is no live picture. This is the newest recording."
    }
    Caption {
        anchors.centerIn: parent
        visible: stage.browser.isFlyingOver
        title: stage.browser.time
        text: stage.browser.date
        titleSize: 40
    }
}
