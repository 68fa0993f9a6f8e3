import QtQuick
import Korvane.Toolkit

// A button of the ruler with a title or an image.
Rectangle {
    id: button

    property string title
    property color titleColor: "#000000"
    property alias image: picture.image
    property string spokenName: title
    // A face shows where the button is, for one whose title alone does not.
    property bool framed: false

    signal clicked

    color: "transparent"
    clip: true

    Accessible.role: Accessible.Button
    Accessible.name: spokenName
    Accessible.onPressAction: clicked()

    Rectangle {
        anchors.centerIn: parent
        width: Math.max(0, Math.min(button.width - 2, label.implicitWidth + 24))
        height: 36
        radius: 8
        antialiasing: true
        color: button.titleColor
        opacity: touch.pressed ? 0.24 : touch.containsMouse ? 0.12 : button.framed ? 0.07 : 0
    }

    Text {
        id: label

        anchors.centerIn: parent
        // A guillemet stands below the middle of its line.
        anchors.verticalCenterOffset: button.framed ? 0 : -2
        text: button.title
        color: button.titleColor
        font.pixelSize: button.framed ? 13 : 24
        font.bold: button.framed
    }

    ImageView {
        id: picture

        anchors.centerIn: parent
        width: Math.min(button.width, button.height, 24)
        height: width
        contentMode: ImageView.AspectFit
    }

    MouseArea {
        id: touch

        anchors.fill: parent
        hoverEnabled: true
        onClicked: button.clicked()
    }
}
