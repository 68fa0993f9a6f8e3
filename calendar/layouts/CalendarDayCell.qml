import QtQuick
import QtQuick.Templates as T

// One day: its number, on a disc where it is marked.
T.AbstractButton {
    id: cell

    required property int index
    required property string number
    required property bool isOfMonth
    required property bool isMarked
    required property bool isToday
    required property bool isSelected
    required property string spokenName
    required property Item look
    required property bool isAtCursor
    readonly property bool isFilled: isMarked && isSelected
    readonly property bool hasRing: visualFocus || (activeFocus && !!look && look.showsCursor)
    // A cell may outlive its calendar by a turn.
    readonly property color tint: look ? look.markColor : "transparent"
    readonly property color accent: look ? look.accentColor : "transparent"

    function faint(opacity) {
        return look ? look.faint(opacity) : "transparent"
    }

    focus: isAtCursor
    focusPolicy: isAtCursor ? Qt.StrongFocus : Qt.ClickFocus
    hoverEnabled: true
    text: number
    Accessible.role: Accessible.Button
    Accessible.name: spokenName
    Accessible.selected: isSelected
    Accessible.onPressAction: clicked()
    Keys.onShortcutOverride: event => look.keep(event)

    background: Item {
        opacity: cell.isOfMonth ? 1 : 0.45

        Rectangle {
            anchors.centerIn: parent
            width: Math.min(cell.width, cell.height) - 2
            height: width
            radius: width / 2
            antialiasing: true
            color: {
                if (cell.isFilled)
                    return cell.accent
                if (cell.isMarked)
                    return Qt.rgba(cell.tint.r, cell.tint.g, cell.tint.b, cell.down ? 0.6 : cell.hovered ? 0.5 : 0.34)
                return cell.faint(cell.down ? 0.12 : 0)
            }
            border.width: cell.hasRing ? 2 : cell.isSelected && !cell.isMarked ? 1.5 : 0
            border.color: cell.hasRing ? cell.faint(1) : cell.accent
        }
        Rectangle {
            visible: cell.isToday
            anchors.horizontalCenter: parent.horizontalCenter
            y: Math.round(cell.height / 2 + 7)
            width: 4
            height: 4
            radius: 2
            antialiasing: true
            color: label.color
        }
    }
    contentItem: Text {
        id: label

        text: cell.number
        color: {
            if (cell.isFilled)
                return cell.accent.hslLightness > 0.62 ? "#000000" : "#ffffff"
            return cell.faint(cell.isOfMonth ? (cell.isMarked ? 1 : 0.6) : (cell.isMarked ? 0.6 : 0.3))
        }
        font.pixelSize: 13
        font.bold: cell.isMarked && cell.isOfMonth
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }
}
