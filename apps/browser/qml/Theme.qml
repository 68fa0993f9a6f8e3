pragma Singleton
import QtQuick

// One grid of 8 points, one accent, greys that lean a little to blue.
QtObject {
    readonly property color window: "#0c0e11"
    readonly property color stage: "#000000"
    readonly property color raised: "#1b1f25"
    readonly property color hovered: "#252a32"
    readonly property color pressed: "#2f353e"
    readonly property color separator: "#1e2228"
    readonly property color text: "#eceef1"
    readonly property color secondary: "#9aa1ab"
    readonly property color faint: "#7e8690"
    readonly property color accent: "#e5484d"
    readonly property color fault: "#f5b94a"

    readonly property string family: "DejaVu Sans"
    readonly property int unit: 8
    readonly property int stripHeight: 120
}
