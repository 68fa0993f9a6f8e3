import QtQuick
import Korvane.Toolkit

// A button of the ruler with a title or an image.
Rectangle {
    id: button

    property string title
    property color titleColor: "#000000"
    property alias image: picture.image
    property string spokenName: title

    signal clicked

    color: "transparent"
    clip: true
    opacity: touch.pressed ? 0.5 : 1

    Accessible.role: Accessible.Button
    Accessible.name: spokenName
    Accessible.onPressAction: clicked()

    Text {
        anchors.centerIn: parent
        text: button.title
        color: button.titleColor
        font.pixelSize: 14
        font.bold: true
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
        onClicked: button.clicked()
    }
}
