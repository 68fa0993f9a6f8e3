import QtQuick
import QtQuick.Templates as T
import Korvane.Browser

// A raised sheet in the middle of the window that takes all input until it is closed. What does not fit is scrolled.
T.Dialog {
    id: sheet

    // Has the keyboard first, and shows it when the sheet was opened by a key.
    required property Item first
    property bool isKeyed: false
    // Below what scrolls.
    property alias actions: buttons.data
    default property alias rows: column.data
    readonly property Item focused: contentItem.Window.activeFocusItem

    function takeFocus() {
        // What has the focus already would not take the reason.
        first.focus = false
        first.forceActiveFocus(isKeyed ? Qt.TabFocusReason : Qt.PopupFocusReason)
    }

    function scrollTo(y) {
        flick.contentY = Math.max(0, Math.min(y, flick.contentHeight - flick.height))
    }

    function reveal(item) {
        for (let above = item; above; above = above.parent) {
            if (above !== column) continue
            const top = item.mapToItem(column, 0, 0).y
            scrollTo(Math.min(top - Theme.unit, Math.max(flick.contentY, top + item.height + Theme.unit - flick.height)))
        }
    }

    parent: T.Overlay.overlay
    anchors.centerIn: parent
    width: parent ? Math.min(440, parent.width - 4 * Theme.unit) : 0
    height: parent ? Math.min(implicitHeight, parent.height - 2 * Theme.unit) : 0
    padding: 3 * Theme.unit
    implicitHeight: 2 * padding + heading.height + flick.contentHeight + buttons.height + 3 * Theme.unit
    modal: true
    focus: true
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutside

    onOpened: takeFocus()
    onFocusedChanged: if (opened) reveal(focused)
    onHeightChanged: if (opened) reveal(focused)

    T.Overlay.modal: Rectangle { color: "#99000000" }

    background: Rectangle {
        radius: 2 * Theme.unit
        antialiasing: true
        color: Theme.sheet
        border.color: Theme.pressed
    }
    contentItem: FocusScope {
        focus: true

        Keys.onUpPressed: sheet.scrollTo(flick.contentY - 5 * Theme.unit)
        Keys.onDownPressed: sheet.scrollTo(flick.contentY + 5 * Theme.unit)

        Label {
            id: heading

            width: parent.width
            text: sheet.title
            font.pixelSize: 17
            font.weight: Font.Bold
        }
        Flickable {
            id: flick

            // Room for the ring of what has the focus, and for the scroll bar beside it.
            x: -Theme.unit
            width: parent.width + 3 * Theme.unit
            anchors.top: heading.bottom
            anchors.topMargin: Theme.unit
            anchors.bottom: buttons.top
            anchors.bottomMargin: 2 * Theme.unit
            contentHeight: column.height + 4
            boundsBehavior: Flickable.StopAtBounds
            clip: contentHeight > height

            T.ScrollBar.vertical: T.ScrollBar {
                visible: size < 1
                implicitWidth: 6
                contentItem: Rectangle {
                    implicitWidth: 4
                    radius: 2
                    color: Theme.faint
                }
            }

            Column {
                id: column

                x: Theme.unit
                y: 2
                width: flick.width - 3 * Theme.unit
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
