import QtQuick
import QtQuick.Templates as T
import Korvane.Browser

// One of a row of which exactly one holds.
T.RadioButton {
    id: option

    function choose() {
        if (checked) return
        toggle()
        toggled()
    }

    implicitWidth: contentItem.implicitWidth + 3 * Theme.unit
    implicitHeight: 36
    hoverEnabled: true
    focusPolicy: Qt.TabFocus

    Accessible.name: text
    Keys.onReturnPressed: event => { if (!event.isAutoRepeat) choose() }
    Keys.onEnterPressed: event => { if (!event.isAutoRepeat) choose() }

    background: Rectangle {
        radius: height / 2
        antialiasing: true
        color: option.checked || option.down ? Theme.pressed : option.hovered ? Theme.hovered : "transparent"
        border.color: option.checked ? Theme.accent : Theme.pressed

        FocusRing { control: option }
    }
    contentItem: Label {
        text: option.text
        horizontalAlignment: Text.AlignHCenter
        color: option.checked ? Theme.text : Theme.secondary
    }
}
