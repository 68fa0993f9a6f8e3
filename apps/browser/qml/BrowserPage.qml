import QtQuick
import Korvane.Browser
import Korvane.Timeline

FocusScope {
    id: page

    required property Browser browser
    required property Preferences preferences
    signal folderWanted
    readonly property Navigation navigation: browser.navigation
    readonly property bool isRuler: browser.page === Browser.Ruler
    readonly property bool isLow: height < Theme.lowHeight

    // Gives false for a key that does nothing here.
    function press(key) {
        switch (key) {
        case Qt.Key_Home: isRuler ? browser.ruler.toFirst() : navigation.toFirst(); return true
        case Qt.Key_Left: navigation.toPrevious(); return true
        case Qt.Key_Right: navigation.toNext(); return true
        case Qt.Key_End: isRuler ? browser.goLive() : navigation.toLast(); return true
        case Qt.Key_PageUp: goByHours(-1); return true
        case Qt.Key_PageDown: goByHours(1); return true
        }
        return false
    }

    function pressOnce(key) {
        switch (key) {
        case Qt.Key_Space: browser.togglePlaying(); return true
        case Qt.Key_Delete: navigation.askToDelete(); return true
        case Qt.Key_T: browser.toNextPage(); return true
        case Qt.Key_R: browser.ruler.hasRange = !browser.ruler.hasRange; return true
        case Qt.Key_C: if (isRuler) ruler.toggleCalendarControl(); return isRuler
        case Qt.Key_M: browser.player.muted = !browser.player.muted; return true
        case Qt.Key_Comma: settings.open(); return true
        case Qt.Key_Question: case Qt.Key_F1: help.open(); return true
        case Qt.Key_Escape:
            if (keys.activeFocus) browser.dismissRejected()
            keys.forceActiveFocus()
            return true
        }
        return browser.page === Browser.Events && pressSwitch(key)
    }

    function pressSwitch(key) {
        switch (key) {
        case Qt.Key_E: browser.showsRecordings = !browser.showsRecordings; return true
        case Qt.Key_G: browser.groups = !browser.groups; return true
        case Qt.Key_O: browser.playsOn = !browser.playsOn; return true
        }
        return false
    }

    function goByHours(hours) {
        isRuler ? browser.ruler.goByHours(hours) : navigation.goByHours(hours)
    }

    function take(event) {
        const isLetter = event.key < 0x100
        if (isLetter && event.modifiers & (Qt.ControlModifier | Qt.AltModifier | Qt.MetaModifier)) return false
        keys.areInUse = true
        const isTaken = press(event.key) || (!event.isAutoRepeat && pressOnce(event.key))
        keys.areInUse = false
        return isTaken
    }

    focus: true
    onVisibleChanged: {
        if (visible) return
        settings.close()
        help.close()
    }
    // The timeline strip and the ruler have keys of their own; what is not visible gets none.
    Keys.forwardTo: [timeline, ruler]
    Keys.onPressed: event => event.accepted = take(event)

    // Has the focus while no button has it.
    Item {
        id: keys

        property bool areInUse: false

        focus: true
    }
    StateLine {
        id: line

        width: parent.width
        browser: page.browser
        isLow: page.isLow
        onSettingsWanted: settings.open()
        onHelpWanted: help.open()
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
        isLow: page.isLow
    }
    ScrubberView {
        id: strip

        anchors.bottom: parent.bottom
        width: parent.width
        height: page.isLow ? Theme.lowStripHeight : Theme.stripHeight
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
        calendarContainer: page.width < 600 ? days : null
        // What is not seen would keep the keyboard.
        onVisibleChanged: if (!visible && activeFocus) keys.forceActiveFocus()
        onPlayPauseRequested: page.browser.togglePlaying()
        Component.onCompleted: page.browser.attachRuler(ruler)
    }
    // In a narrow window the days lie over the picture, where a thumb reaches them. The ruler shows and hides them.
    Item {
        id: days

        anchors.horizontalCenter: parent.horizontalCenter
        anchors.bottom: transport.top
        anchors.bottomMargin: Theme.unit
        width: Math.min(400, page.width - 2 * Theme.unit)
        height: Math.min(320, transport.y - line.height - 2 * Theme.unit)
        visible: false

        MouseArea { anchors.fill: parent }
    }
    Notice {
        x: (page.width - width) / 2
        y: line.height + 2 * Theme.unit
        width: Math.min(480, page.width - 4 * Theme.unit)
        lines: page.browser.rejected
        onDismissed: page.browser.dismissRejected()
    }
    Question {
        id: question

        readonly property bool isAsked: page.navigation.doomed.length > 0

        title: "Delete this event?"
        subject: page.navigation.doomed
        text: "It cannot be brought back. The recording stays."
        answer: "Delete"
        isKeyed: keys.areInUse
        onIsAskedChanged: isAsked ? open() : close()
        onAccepted: page.navigation.deleteDoomed()
        onClosed: {
            if (isAsked) page.navigation.keep()
            keys.forceActiveFocus()
        }
    }
    SettingsSheet {
        id: settings

        browser: page.browser
        preferences: page.preferences
        isKeyed: keys.areInUse
        onHelpWanted: help.open()
        onFolderWanted: page.folderWanted()
        onClosed: if (page.visible) keys.forceActiveFocus()
    }
    HelpSheet {
        id: help

        isKeyed: keys.areInUse
        onClosed: if (page.visible) keys.forceActiveFocus()
    }
}
