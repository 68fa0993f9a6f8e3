import QtQuick
import Korvane.Browser

// The moment under the mark, and what happened then.
Item {
    id: moment

    required property Browser browser
    readonly property bool isNamed: browser.eventName.length > 0

    implicitHeight: 58

    Label {
        anchors.horizontalCenter: parent.horizontalCenter
        y: moment.isNamed ? 0 : 7
        height: 26
        text: moment.browser.time
        font.pixelSize: 22
        font.letterSpacing: 0.5
        color: moment.browser.isFlyingOver ? Theme.accent : Theme.text
    }
    Label {
        y: 26
        width: parent.width
        height: 16
        horizontalAlignment: Text.AlignHCenter
        text: moment.browser.eventName
        font.pixelSize: 12
    }
    Label {
        y: moment.isNamed ? 42 : 34
        width: parent.width
        height: 16
        horizontalAlignment: Text.AlignHCenter
        text: moment.browser.date
        font.pixelSize: 11
        font.letterSpacing: 0.3
        color: Theme.secondary
    }
}
