import QtQuick
import Korvane.Browser
import Korvane.Timeline

// The time ruler in the colours of the page: a dark track, on it what is recorded, and the labels below.
TimelineView {
    // A host's own place for the days would stay when the ruler has gone.
    onVisibleChanged: if (!visible) toggleCalendarControl(false)
    zoomEnabled: true
    showsSectorStates: true
    mainColor: Theme.window
    lineColor: Theme.raised
    lineWidth: 28
    trackColor: "#6b90c4"
    trackWidth: 28
    knobColor: Theme.accent
    strokeColor: Theme.pressed
    strokeWidth: 1
    strokeTextPositionType: 2
    textColor: Theme.secondary
    textBackgroundColor: "transparent"
    scaleColor: Theme.text
}
