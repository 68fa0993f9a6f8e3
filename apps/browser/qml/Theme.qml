pragma Singleton
import QtQuick
import Korvane.Browser

// One grid of 8 points, and the colours of the look that the window has chosen.
QtObject {
    property bool isDark: true
    readonly property var colours: isDark ? Palettes.dark : Palettes.light

    readonly property color window: colours.window
    readonly property color stage: colours.stage
    readonly property color sheet: colours.sheet
    readonly property color raised: colours.raised
    readonly property color hovered: colours.hovered
    readonly property color pressed: colours.pressed
    readonly property color separator: colours.separator
    readonly property color text: colours.text
    readonly property color secondary: colours.secondary
    readonly property color faint: colours.faint
    readonly property color accent: colours.accent
    readonly property color fault: colours.fault
    readonly property color focus: colours.focus
    // Over a picture, in either look.
    readonly property color onPicture: "#f4f5f7"
    readonly property color onPictureFaint: "#d0d4da"

    readonly property string family: "DejaVu Sans"
    readonly property int unit: 8
    readonly property int stripHeight: 120
    readonly property int lowStripHeight: 88
    // Below this height of the window the parts draw together.
    readonly property int lowHeight: 480
}
