import QtQuick
import Korvane.Browser

// The picture with the captions over it.
Rectangle {
    id: stage

    required property Browser browser
    readonly property bool hasPicture: video.hasFrame && video.visible

    // While a finger drags, the picture has not been of the moment under the mark for a while.
    property bool isStale: false
    readonly property bool isLate: browser.isFlyingOver && !browser.isPictureTrue

    color: Theme.stage
    onIsLateChanged: if (!isLate) isStale = false

    Timer {
        interval: 200
        running: stage.isLate
        onTriggered: stage.isStale = true
    }
    VideoSurface {
        id: video

        anchors.fill: parent
        visible: stage.browser.player.state !== RecordingPlayer.Idle
        sink: stage.browser.player.sink
        standIn: stage.browser.thumbnail
    }
    // Dims a picture that has a caption over it or is not of the moment under the mark.
    Rectangle {
        anchors.fill: parent
        color: "#000000"
        opacity: stage.isStale || liveCaption.visible || faultCaption.visible ? 0.55 : 0
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
        color: Theme.onPictureFaint
    }
    Caption {
        id: faultCaption

        anchors.centerIn: parent
        visible: stage.browser.mood === Browser.Fault && !stage.browser.isFlyingOver
                 && stage.browser.player.state !== RecordingPlayer.Playing
        title: "Nothing to play"
        text: stage.browser.message
    }
    TextButton {
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: faultCaption.bottom
        anchors.topMargin: 2 * Theme.unit
        visible: faultCaption.visible && stage.browser.service.isLost
        text: "Try again"
        face: Theme.sheet
        onClicked: stage.browser.service.tryNow()
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
        visible: stage.isStale
        title: stage.browser.time
        text: stage.browser.date
        titleSize: 40
    }
}
