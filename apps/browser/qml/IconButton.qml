import QtQuick
import QtQuick.Templates as T
import Korvane.Browser

// A round button of one icon, or of a few words, large enough for a finger. With both it is a pill.
T.ToolButton {
    id: button

    property int shape: Glyph.Play
    property bool hasIcon: true
    property string tip
    property bool quiet: false
    property int touchSize: 48

    readonly property bool isPill: hasIcon && text.length > 0
    readonly property color inkColor: checked || !quiet ? Theme.text : Theme.secondary

    function choose() {
        if (checkable) {
            toggle()
            toggled()
        }
        clicked()
    }

    implicitWidth: Math.max(touchSize, contentItem.implicitWidth + (isPill ? 30 : 12))
    implicitHeight: touchSize
    opacity: enabled ? 1 : 0.32
    hoverEnabled: true
    // A button that is clicked leaves the arrow keys to the strip.
    focusPolicy: Qt.TabFocus

    Accessible.name: tip.length > 0 ? tip : text

    Keys.onReturnPressed: event => { if (!event.isAutoRepeat) choose() }
    Keys.onEnterPressed: event => { if (!event.isAutoRepeat) choose() }

    background: Item {
        Rectangle {
            id: face

            anchors.centerIn: parent
            width: button.isPill ? parent.width - 4 : Math.min(40, button.touchSize - 4)
            height: Math.min(40, button.touchSize - 4)
            radius: height / 2
            antialiasing: true
            color: button.down ? Theme.pressed : button.hovered ? Theme.hovered
                 : button.quiet && !button.checked ? "transparent" : Theme.raised

            FocusRing { control: button }
        }
    }
    contentItem: Item {
        implicitWidth: content.width

        Row {
            id: content

            anchors.centerIn: parent
            spacing: 7

            Glyph {
                anchors.verticalCenter: parent.verticalCenter
                visible: button.hasIcon
                width: 20
                height: 20
                shape: button.shape
                color: button.checked ? Theme.accent : button.inkColor
            }
            Label {
                anchors.verticalCenter: parent.verticalCenter
                visible: text.length > 0
                text: button.text
                font.pixelSize: 12
                color: button.inkColor
            }
        }
    }
    Loader {
        anchors.fill: parent
        active: button.tip.length > 0 && (button.hovered || button.visualFocus)

        sourceComponent: Tip {
            text: button.tip
            delay: 600
            visible: !button.down
        }
    }
}
