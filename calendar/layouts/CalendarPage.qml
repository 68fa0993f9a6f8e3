import QtQuick
import QtQuick.Templates as T
import Korvane.Calendar

// Head, names of the days, and the days. The names are Qt Quick Controls' row of them. Its grid of a month knows neither
// marks nor keys, and takes today from the device's clock, so the days come from a model of ours.
Item {
    id: page

    required property CalendarMonthModel model
    required property Item look

    LayoutMirroring.enabled: model.isMirrored
    LayoutMirroring.childrenInherit: true
    Accessible.role: Accessible.Grouping
    Accessible.name: "Calendar, " + model.title

    Item {
        id: head

        width: parent.width
        height: page.look.hasMonths || page.look.hasClose ? 42 : 4
        // A key for the days works from here too, and goes there.
        Keys.onPressed: event => {
            if ([Qt.Key_Left, Qt.Key_Right, Qt.Key_Up, Qt.Key_Down, Qt.Key_Home, Qt.Key_End].includes(event.key))
                days.forceActiveFocus()
            event.accepted = false
        }

        Text {
            anchors.left: parent.left
            anchors.right: previous.left
            anchors.leftMargin: 16
            anchors.verticalCenter: parent.verticalCenter
            visible: page.look.hasMonths
            text: page.model.title
            color: page.look.textColor
            font.pixelSize: 15
            font.bold: true
            elide: Text.ElideRight
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
        CalendarButton {
            id: previous

            anchors.right: next.left
            look: page.look
            visible: page.look.hasMonths
            enabled: page.model.hasPrevious
            glyph: page.model.isMirrored ? "›" : "‹"
            text: "Previous month"
            onClicked: page.model.monthAsked(-1)
        }
        CalendarButton {
            id: next

            anchors.right: close.left
            look: page.look
            visible: page.look.hasMonths
            enabled: page.model.hasNext
            glyph: page.model.isMirrored ? "‹" : "›"
            text: "Next month"
            onClicked: page.model.monthAsked(1)
        }
        CalendarButton {
            id: close

            anchors.right: parent.right
            anchors.rightMargin: 4
            look: page.look
            visible: page.look.hasClose
            glyph: "×"
            text: "Close"
            onClicked: page.model.closeAsked()
        }
    }

    T.AbstractDayOfWeekRow {
        id: names

        anchors.top: head.bottom
        x: 8
        width: page.width - 16
        height: 20
        locale: page.model.locale
        contentItem: Row {
            Repeater {
                model: names.source
                delegate: names.delegate
            }
        }
        delegate: Text {
            required property string shortName
            required property string longName

            width: names.width / 7
            height: names.height
            text: shortName
            color: page.look.faint(0.6)
            font.pixelSize: 11
            elide: Text.ElideRight
            horizontalAlignment: Text.AlignHCenter
            verticalAlignment: Text.AlignVCenter
            Accessible.role: Accessible.StaticText
            Accessible.name: longName
        }
    }

    FocusScope {
        id: days

        anchors.top: names.bottom
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 6
        x: 8
        width: page.width - 16
        focus: true
        opacity: mark.visible ? 0.3 : 1

        Grid {
            columns: 7

            Repeater {
                model: page.model

                CalendarDayCell {
                    width: days.width / 7
                    height: days.height / 6
                    look: page.look
                    isAtCursor: page.model.cursor === index
                    onClicked: page.model.tapped(index)
                }
            }
        }
    }

    LoadingMark {
        id: mark

        anchors.centerIn: days
        look: page.look
    }
}
