import QtQuick

// The line in the middle of its parent. Its geometry is what is reckoned with; what is seen of it stands on device pixels.
Item {
    id: mark

    property alias color: line.color

    x: (parent.width - width) / 2
    height: parent.height

    Rectangle {
        id: line

        readonly property real ratio: Screen.devicePixelRatio

        x: Math.round(mark.x * ratio) / ratio - mark.x
        width: Math.max(1, Math.round(mark.width * ratio)) / ratio
        height: parent.height
        color: "#b82426"
    }
}
