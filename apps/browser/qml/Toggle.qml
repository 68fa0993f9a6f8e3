import QtQuick
import QtQuick.Templates as T
import Korvane.Browser

// A line of text with a switch at its end.
T.Switch {
    id: line

    function choose() {
        toggle()
        toggled()
    }

    implicitWidth: parent ? parent.width : 200
    implicitHeight: Math.max(40, contentItem.implicitHeight)
    opacity: enabled ? 1 : 0.4
    hoverEnabled: true
    focusPolicy: Qt.TabFocus

    Accessible.name: text
    Keys.onReturnPressed: event => { if (!event.isAutoRepeat) choose() }
    Keys.onEnterPressed: event => { if (!event.isAutoRepeat) choose() }

    background: Rectangle {
        radius: 6
        antialiasing: true
        color: "transparent"

        FocusRing {
            control: line
            anchors.leftMargin: -6
            anchors.rightMargin: -6
        }
    }
    contentItem: Label {
        rightPadding: line.indicator.width + Theme.unit
        text: line.text
        wrapMode: Text.WordWrap
    }
    indicator: Rectangle {
        x: line.width - width
        y: (line.height - height) / 2
        width: 40
        height: 24
        radius: 12
        antialiasing: true
        color: line.checked ? Theme.accent : line.hovered ? Theme.pressed : Theme.hovered
        border.color: line.checked ? Theme.accent : Theme.faint

        Rectangle {
            x: line.checked ? 19 : 3
            y: 3
            width: 18
            height: 18
            radius: 9
            antialiasing: true
            color: line.checked ? "#ffffff" : Theme.secondary
            Behavior on x { NumberAnimation { duration: 120 } }
        }
    }
}
