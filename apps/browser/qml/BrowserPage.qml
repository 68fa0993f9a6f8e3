import QtQuick
import Korvane.Browser
import Korvane.Timeline

Item {
    id: page

    required property Browser browser
    readonly property Navigation navigation: browser.navigation
    readonly property bool isRuler: browser.page === Browser.Ruler

    // Gives false for a key that does nothing here.
    function press(key) {
        switch (key) {
        case Qt.Key_Home: isRuler ? browser.ruler.toFirst() : navigation.toFirst(); return true
        case Qt.Key_Left: navigation.toPrevious(); return true
        case Qt.Key_Right: navigation.toNext(); return true
        case Qt.Key_End: isRuler ? browser.goLive() : navigation.toLast(); return true
        case Qt.Key_PageUp: navigation.goByHours(-1); return true
        case Qt.Key_PageDown: navigation.goByHours(1); return true
        }
        return false
    }

    function pressOnce(key) {
        switch (key) {
        case Qt.Key_Space: browser.togglePlaying(); return true
        case Qt.Key_Delete: navigation.askToDelete(); return true
        case Qt.Key_T: browser.toNextPage(); return true
        case Qt.Key_R: browser.ruler.hasRange = !browser.ruler.hasRange; return true
        }
        return false
    }

    focus: true
    // The timeline strip and the ruler have keys of their own; what is not visible gets none.
    Keys.forwardTo: [timeline, ruler]
    Keys.onPressed: event => event.accepted = press(event.key) || (!event.isAutoRepeat && pressOnce(event.key))

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
        visible: page.browser.page === Browser.Events
        Component.onCompleted: page.browser.attachStrip(strip)
    }
    ScrubberTimelineView {
        id: timeline

        anchors.fill: strip
        visible: page.browser.page === Browser.Timeline
        onPlayPauseRequested: page.browser.togglePlaying()
        Component.onCompleted: page.browser.attachTimeline(timeline)
    }
    RulerStrip {
        id: ruler

        anchors.fill: strip
        visible: page.isRuler
        onPlayPauseRequested: page.browser.togglePlaying()
        Component.onCompleted: page.browser.attachRuler(ruler)
    }
    Notice {
        anchors.horizontalCenter: parent.horizontalCenter
        anchors.top: line.bottom
        anchors.topMargin: 2 * Theme.unit
        lines: page.browser.rejected
        onDismissed: page.browser.dismissRejected()
    }
    Question {
        anchors.fill: parent
        visible: subject.length > 0
        title: "Delete this event?"
        subject: page.navigation.doomed
        text: "It cannot be brought back. The recording stays."
        answer: "Delete"
        onVisibleChanged: visible ? forceActiveFocus() : page.forceActiveFocus()
        onAccepted: page.navigation.deleteDoomed()
        onRefused: page.navigation.keep()
    }
}
