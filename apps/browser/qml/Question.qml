import QtQuick
import Korvane.Browser

// Asks before something is deleted. Return and Escape keep it; the deletion takes a press of its own button.
Sheet {
    id: question

    property string subject
    property string text
    property alias answer: yes.text

    first: no

    Label {
        width: parent.width
        text: question.subject
        wrapMode: Text.WordWrap
    }
    Label {
        width: parent.width
        text: question.text
        wrapMode: Text.WordWrap
        font.pixelSize: 12
        lineHeight: 1.25
        color: Theme.secondary
    }

    actions: [
        TextButton {
            id: no

            text: "Keep"
            onClicked: question.reject()
        },
        TextButton {
            id: yes

            strong: true
            onClicked: question.accept()
        }
    ]
}
