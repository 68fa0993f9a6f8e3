import QtQuick
import QtQuick.Templates as T
import Korvane.Browser

// A raised sheet in the middle of the window that takes all input until it is closed. What does not fit is scrolled.
T.Dialog {
    id: sheet

    // Opened by a key, the sheet shows where the keyboard is.
    property bool isKeyed: false
    readonly property int focusReason: isKeyed ? Qt.TabFocusReason : Qt.PopupFocusReason
    // Below what scrolls.
    property alias actions: buttons.data
    default property alias rows: column.data

    parent: T.Overlay.overlay
    anchors.centerIn: parent
    width: parent ? Math.min(400, parent.width - 4 * Theme.unit) : 0
    height: parent ? Math.min(implicitHeight, parent.height - 2 * Theme.unit) : 0
    padding: 3 * Theme.unit
    implicitHeight: padding * 2 + heading.height + flick.contentHeight + buttons.height + 2 * Theme.unit
    modal: true
    focus: true
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutside

    T.Overlay.modal: Rectangle { color: "#99000000" }

    background: Rectangle {
        radius: 2 * Theme.unit
        antialiasing: true
        color: Theme.sheet
        border.color: Theme.pressed
    }
    contentItem: FocusScope {
        focus: true

        Label {
            id: heading

            width: parent.width
            text: sheet.title
            font.pixelSize: 17
            font.weight: Font.Bold
        }
        Flickable {
            id: flick

            anchors.top: heading.bottom
            anchors.topMargin: Theme.unit
            anchors.bottom: buttons.top
            anchors.bottomMargin: Theme.unit
            width: parent.width
            contentHeight: column.height
            boundsBehavior: Flickable.StopAtBounds
            clip: contentHeight > height

            Column {
                id: column

                width: flick.width
                spacing: Theme.unit
            }
        }
        Row {
            id: buttons

            anchors.right: parent.right
            anchors.bottom: parent.bottom
            spacing: Theme.unit
        }
    }
}
