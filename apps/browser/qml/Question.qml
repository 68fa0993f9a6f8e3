import QtQuick
import Korvane.Browser

// Asks before something is deleted, and takes all input until it is answered.
FocusScope {
    id: question

    property alias title: title.text
    property alias subject: subject.text
    property alias text: text.text
    property alias answer: yes.text
    signal accepted
    signal refused

    Keys.onPressed: event => {
        event.accepted = true
        if (event.isAutoRepeat) return
        if (event.key === Qt.Key_Return || event.key === Qt.Key_Enter) question.accepted()
        if (event.key === Qt.Key_Escape || event.key === Qt.Key_Back) question.refused()
    }

    Rectangle {
        anchors.fill: parent
        color: "#000000"
        opacity: 0.6
    }
    MouseArea {
        anchors.fill: parent
        hoverEnabled: true
        onClicked: question.refused()
        onWheel: wheel => wheel.accepted = true
    }
    Rectangle {
        anchors.centerIn: parent
        width: Math.min(400, parent.width - 4 * Theme.unit)
        height: column.height + 6 * Theme.unit
        radius: 2 * Theme.unit
        antialiasing: true
        color: Theme.raised
        border.color: Theme.pressed

        MouseArea { anchors.fill: parent }
        Column {
            id: column

            x: 3 * Theme.unit
            y: 3 * Theme.unit
            width: parent.width - 6 * Theme.unit
            spacing: Theme.unit

            Label {
                id: title

                width: parent.width
                font.pixelSize: 17
                font.weight: Font.Bold
            }
            Label {
                id: subject

                width: parent.width
                wrapMode: Text.WordWrap
            }
            Label {
                id: text

                width: parent.width
                wrapMode: Text.WordWrap
                font.pixelSize: 12
                lineHeight: 1.25
                color: Theme.secondary
            }
            Item {
                width: 1
                height: Theme.unit
            }
            Row {
                anchors.right: parent.right
                spacing: Theme.unit

                TextButton {
                    text: "Keep"
                    onClicked: question.refused()
                }
                TextButton {
                    id: yes

                    strong: true
                    onClicked: question.accepted()
                }
            }
        }
    }
}
