import QtQuick
import Korvane.Browser

// Between picture and strip: the time above the strip's mark, with the buttons that move the strip around it. The
// player's buttons and the switches stand beside them, or below in a narrow window.
Item {
    id: transport

    required property Browser browser
    readonly property Navigation navigation: browser.navigation
    property bool isLow: false
    readonly property bool isOneRow: width >= (isLow ? 640 : 840)
    readonly property bool isLabelled: width >= 1240
    readonly property bool hasHours: isLow ? width >= 740 : true
    readonly property RulerHost ruler: browser.ruler
    readonly property bool isTimeline: browser.page === Browser.Timeline
    readonly property bool isRuler: browser.page === Browser.Ruler
    // In a narrow window the lower row has up to nine buttons.
    readonly property int touchSize: isOneRow ? (isLow ? 40 : 48)
                                              : Math.min(44, Math.floor((width - 8) / (browser.player.hasSound ? 9 : 8)))
    readonly property int upperHeight: isLow ? 62 : 72

    component Choice: IconButton {
        property string label

        touchSize: transport.touchSize
        quiet: true
        checkable: true
        text: transport.isLabelled ? label : ""
    }
    component Way: IconButton {
        touchSize: transport.touchSize
        quiet: true
    }
    component HourWay: Way {
        required property int hours

        hasIcon: false
        text: hours < 0 ? "\u22121 h" : "+1 h"
        tip: (hours < 0 ? "An hour back" : "An hour on")
             + (transport.isTimeline || transport.isRuler ? " (Ctrl+Page " : " (Page ") + (hours < 0 ? "Up)" : "Down)")
        enabled: transport.isRuler ? transport.ruler.canMove
               : hours < 0 ? transport.navigation.canGoBackByHours : transport.navigation.canGoOnByHours
        onClicked: transport.isRuler ? transport.ruler.goByHours(hours) : transport.navigation.goByHours(hours)
    }

    implicitHeight: upperHeight + (isOneRow ? 0 : isLow ? 44 : 52)

    Rectangle {
        width: parent.width
        height: 1
        color: Theme.separator
    }
    // The keyboard goes through the buttons as they stand in the tree: the player's come first where they stand first.
    Item { id: before }
    Row {
        id: middle

        anchors.horizontalCenter: parent.horizontalCenter
        height: transport.isOneRow ? parent.height : transport.upperHeight

        Way {
            anchors.verticalCenter: parent.verticalCenter
            shape: Glyph.First
            tip: "First (Home)"
            enabled: transport.isRuler ? transport.ruler.canMove : transport.navigation.canGoBack
            onClicked: transport.isRuler ? transport.ruler.toFirst() : transport.navigation.toFirst()
        }
        HourWay {
            anchors.verticalCenter: parent.verticalCenter
            visible: transport.isOneRow && transport.hasHours
            hours: -1
        }
        Way {
            anchors.verticalCenter: parent.verticalCenter
            visible: !transport.isRuler
            shape: Glyph.Previous
            tip: transport.isTimeline ? "Previous (Shift+Left)" : "Previous (Left)"
            enabled: transport.navigation.canGoBack
            onClicked: transport.navigation.toPrevious()
        }
        Moment {
            anchors.verticalCenter: parent.verticalCenter
            width: transport.isLow ? 148 : 168
            browser: transport.browser
        }
        Way {
            anchors.verticalCenter: parent.verticalCenter
            visible: !transport.isRuler
            shape: Glyph.Next
            tip: transport.isTimeline ? "Next (Shift+Right)" : "Next (Right)"
            enabled: transport.navigation.canGoOn
            onClicked: transport.navigation.toNext()
        }
        HourWay {
            anchors.verticalCenter: parent.verticalCenter
            visible: transport.isOneRow && transport.hasHours
            hours: 1
        }
        Way {
            anchors.verticalCenter: parent.verticalCenter
            shape: Glyph.Last
            tip: transport.isTimeline ? "Last (Ctrl+End)" : "Last (End)"
            enabled: transport.isRuler ? transport.ruler.canMove : transport.navigation.canGoToLast
            onClicked: transport.isRuler ? transport.browser.goLive() : transport.navigation.toLast()
        }
    }
    Item { id: after }
    Row {
        id: playing

        parent: transport.isOneRow ? before : after
        x: 4
        y: transport.isOneRow ? (transport.height - height) / 2 : transport.upperHeight

        IconButton {
            readonly property bool isPlaying: transport.browser.player.state === RecordingPlayer.Playing

            touchSize: transport.touchSize
            enabled: transport.browser.player.state !== RecordingPlayer.Idle
            shape: isPlaying ? Glyph.Pause : Glyph.Play
            tip: isPlaying ? "Pause (Space)" : "Play (Space)"
            onClicked: transport.browser.togglePlaying()
        }
        Way {
            visible: transport.browser.player.hasSound
            shape: transport.browser.player.muted ? Glyph.Muted : Glyph.Sound
            tip: transport.browser.player.muted ? "Sound on (M)" : "Sound off (M)"
            onClicked: transport.browser.player.muted = !transport.browser.player.muted
        }
        // Goes through the three ways to browse, and shows the one that is on screen.
        Way {
            readonly property string label: transport.isRuler ? "Ruler" : transport.isTimeline ? "Timeline" : "Events"

            shape: transport.isRuler ? Glyph.Ruler : transport.isTimeline ? Glyph.Timeline : Glyph.Events
            text: transport.isLabelled ? label : ""
            tip: transport.isRuler ? "Show the strip of events (T)"
               : transport.isTimeline ? "Show the ruler (T)" : "Show the timeline (T)"
            onClicked: transport.browser.toNextPage()
        }
        HourWay {
            visible: !transport.isOneRow
            hours: -1
        }
        HourWay {
            visible: !transport.isOneRow
            hours: 1
        }
    }
    Row {
        anchors.right: parent.right
        anchors.rightMargin: 4
        y: playing.y

        Choice {
            visible: transport.isRuler
            shape: Glyph.Range
            label: "Range"
            tip: checked ? "Show the whole time (R)" : "Show the hour around this moment (R)"
            enabled: transport.ruler.canMove || checked
            checked: transport.ruler.hasRange
            onToggled: transport.ruler.hasRange = checked
        }
        Choice {
            visible: !transport.isRuler
            shape: Glyph.Recordings
            label: "Recordings"
            enabled: !transport.isTimeline
            tip: checked ? "Show events (E)" : "Show recordings (E)"
            checked: transport.browser.showsRecordings
            onToggled: transport.browser.showsRecordings = checked
        }
        Choice {
            visible: !transport.isRuler
            shape: Glyph.Group
            label: "Group"
            enabled: !transport.isTimeline
            tip: "Show what is close together as one (G)"
            checked: transport.browser.groups
            onToggled: transport.browser.groups = checked
        }
        Choice {
            visible: !transport.isRuler
            shape: Glyph.PlayOn
            label: "Play on"
            enabled: !transport.isTimeline
            tip: "Go on with the next when one is over (O)"
            checked: transport.browser.playsOn
            onToggled: transport.browser.playsOn = checked
        }
        Way {
            visible: !transport.isRuler
            shape: Glyph.Delete
            tip: "Delete this event (Delete)"
            enabled: transport.navigation.canDelete
            onClicked: transport.navigation.askToDelete()
        }
    }
}
