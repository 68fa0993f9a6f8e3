import QtQuick
import Korvane.Browser

// What the keys do.
Sheet {
    id: sheet

    readonly property var keyTable: [
        ["Space", "Play, pause"],
        ["\u2190 \u2192", "The previous, the next event"],
        ["Home, End", "The first, the last"],
        ["Page \u2191, Page \u2193", "An hour back, an hour on"],
        ["T", "Events, timeline, ruler"],
        ["E", "Events or recordings"],
        ["G", "Show what is close together as one"],
        ["O", "Go on with the next when one is over"],
        ["R", "On the ruler: the hour around this moment"],
        ["C", "On the ruler: the days that were recorded"],
        ["M", "Sound on, sound off"],
        ["Delete", "Delete this event, after a question"],
        ["Ctrl O", "Open a folder"],
        [",", "Settings"],
        ["?", "This list"],
        ["Tab", "From button to button; Escape goes back"],
        ["", "On the timeline and the ruler"],
        ["\u2190 \u2192", "A tick back, a tick on"],
        ["Shift \u2190 \u2192", "Timeline: a segment. Ruler: move the axis"],
        ["Page \u2191, Page \u2193", "A screen back, a screen on"],
        ["Ctrl Page \u2191 \u2193", "An hour back, an hour on"],
        ["+, \u2212", "Ruler: closer, wider"]
    ]

    title: "Keys"
    first: done

    Repeater {
        model: sheet.keyTable

        Item {
            id: line

            required property var modelData
            readonly property bool isHeading: modelData[0].length === 0

            width: parent.width
            height: what.y + Math.max(what.implicitHeight, 18)

            Label {
                id: key

                y: what.y
                width: line.isHeading ? 0 : 120
                text: line.modelData[0]
            }
            Label {
                id: what

                anchors.left: key.right
                anchors.right: parent.right
                y: line.isHeading ? Theme.unit : 0
                text: line.modelData[1]
                wrapMode: Text.WordWrap
                font.weight: line.isHeading ? Font.Bold : Font.Normal
                color: line.isHeading ? Theme.text : Theme.secondary
            }
        }
    }

    actions: TextButton {
        id: done

        text: "Done"
        onClicked: sheet.close()
    }
}
