import QtQuick
import Korvane.Browser

Text {
    color: Theme.text
    font.family: Theme.family
    font.pixelSize: 13
    textFormat: Text.PlainText
    elide: Text.ElideRight
    verticalAlignment: Text.AlignVCenter
}
