import QtQuick

// A line of text with a background of its own.
Text {
    property color backgroundColor: "transparent"

    elide: Text.ElideRight
    textFormat: Text.PlainText
    verticalAlignment: Text.AlignVCenter

    Rectangle {
        anchors.fill: parent
        z: -1
        color: parent.backgroundColor
    }
}
