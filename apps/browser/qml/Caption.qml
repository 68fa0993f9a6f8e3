import QtQuick
import Korvane.Browser

// Two lines over the picture.
Item {
    id: caption

    property alias title: title.text
    property alias text: text.text
    property alias titleSize: title.font.pixelSize

    width: parent.width - 4 * Theme.unit
    height: column.height

    Column {
        id: column

        width: parent.width
        spacing: Theme.unit

        Label {
            id: title

            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            font.pixelSize: 24
            font.letterSpacing: 0.5
            color: Theme.onPicture
        }
        Label {
            id: text

            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            lineHeight: 1.3
            font.pixelSize: 14
            color: Theme.onPictureFaint
        }
    }
}
