import QtQuick
import QtQuick.Templates as T
import Korvane.Browser

// A line of text with a switch at its end.
T.Switch {
    id: toggle

    implicitWidth: parent ? parent.width : 200
    implicitHeight: 40
    opacity: enabled ? 1 : 0.4
    hoverEnabled: true
    focusPolicy: Qt.TabFocus

    Accessible.name: text
    Keys.onReturnPressed: event => { if (!event.isAutoRepeat) click() }
    Keys.onEnterPressed: event => { if (!event.isAutoRepeat) click() }

    background: Rectangle {
        radius: 6
        antialiasing: true
        color: "transparent"

        FocusRing { control: toggle }
    }
    contentItem: Label {
        rightPadding: toggle.indicator.width + Theme.unit
        text: toggle.text
    }
    indicator: Rectangle {
        x: toggle.width - width
        y: (toggle.height - height) / 2
        width: 40
        height: 24
        radius: 12
        antialiasing: true
        color: toggle.checked ? Theme.accent : toggle.hovered ? Theme.pressed : Theme.hovered
        border.color: toggle.checked ? Theme.accent : Theme.faint

        Rectangle {
            x: toggle.checked ? 19 : 3
            y: 3
            width: 18
            height: 18
            radius: 9
            antialiasing: true
            color: toggle.checked ? "#ffffff" : Theme.secondary
            Behavior on x { NumberAnimation { duration: 120 } }
        }
    }
}
