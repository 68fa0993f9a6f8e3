import QtQuick
import QtQuick.Templates as T

// A button of a calendar's head: a sign, and a text for those who hear it.
T.AbstractButton {
    id: button

    required property Item look
    required property string glyph

    width: visible ? 40 : 0
    height: 42
    focusPolicy: Qt.StrongFocus
    hoverEnabled: true
    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.onPressAction: clicked()
    Keys.onShortcutOverride: event => look.keep(event)
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    background: Item {
        Rectangle {
            anchors.centerIn: parent
            width: 32
            height: 32
            radius: 16
            antialiasing: true
            color: button.look.faint(button.down ? 0.2 : button.hovered ? 0.1 : 0)
            border.width: button.visualFocus ? 2 : 0
            border.color: button.look.accentColor
        }
    }
    contentItem: Text {
        text: button.glyph
        color: button.look.faint(button.enabled ? 0.85 : 0.25)
        font.pixelSize: 22
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        // These signs stand below the middle of their line.
        bottomPadding: 4
    }
}
