import QtQuick
import Korvane.Browser

// Between picture and strip: the time stands over the strip's mark.
Item {
    id: transport

    required property Browser browser

    implicitHeight: 64

    Rectangle {
        width: parent.width
        height: 1
        color: Theme.separator
    }
    Row {
        anchors.verticalCenter: parent.verticalCenter
        x: Theme.unit

        IconButton {
            enabled: transport.browser.player.state !== RecordingPlayer.Idle
            shape: transport.browser.player.state === RecordingPlayer.Playing ? Glyph.Pause : Glyph.Play
            onClicked: transport.browser.togglePlaying()
        }
        IconButton {
            quiet: true
            visible: transport.browser.player.hasSound
            shape: transport.browser.player.muted ? Glyph.Muted : Glyph.Sound
            onClicked: transport.browser.player.muted = !transport.browser.player.muted
        }
    }
    Label {
        anchors.horizontalCenter: parent.horizontalCenter
        y: 10
        height: 26
        text: transport.browser.time
        font.pixelSize: 22
        font.letterSpacing: 0.5
        color: transport.browser.isFlyingOver ? Theme.accent : Theme.text
    }
    Label {
        anchors.horizontalCenter: parent.horizontalCenter
        y: 37
        height: 16
        text: transport.browser.date
        font.pixelSize: 11
        font.letterSpacing: 0.3
        color: Theme.secondary
    }
}
