import QtQuick
import Korvane.Browser

Text {
    color: Theme.text
    font.family: Theme.family
    font.pixelSize: 13
    textFormat: Text.PlainText
    elide: Text.ElideRight
    // Text of a language that is written from the right stands where all text stands.
    horizontalAlignment: Text.AlignLeft
    verticalAlignment: Text.AlignVCenter
}
