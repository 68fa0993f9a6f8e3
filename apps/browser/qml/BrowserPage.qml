import QtQuick
import Korvane.Browser
import Korvane.Timeline

Item {
    id: page

    required property Browser browser

    focus: true
    Keys.onSpacePressed: browser.togglePlaying()

    StateLine {
        id: line

        width: parent.width
        browser: page.browser
    }
    Stage {
        anchors.top: line.bottom
        anchors.bottom: transport.top
        width: parent.width
        browser: page.browser
    }
    Transport {
        id: transport

        anchors.bottom: strip.top
        width: parent.width
        browser: page.browser
    }
    ScrubberView {
        id: strip

        anchors.bottom: parent.bottom
        width: parent.width
        height: Theme.stripHeight
        Component.onCompleted: page.browser.attachStrip(strip)
    }
    Notice {
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: line.bottom
        anchors.topMargin: 2 * Theme.unit
        lines: page.browser.rejected
        onDismissed: page.browser.dismissRejected()
    }
}
