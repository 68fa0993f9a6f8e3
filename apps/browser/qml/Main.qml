import QtQuick
import Korvane.Browser

Window {
    id: window

    required property Browser browser
    required property ImportModel importModel
    property bool isImporting: false

    width: 1280
    height: 800
    minimumWidth: 360
    minimumHeight: 400
    color: Theme.window
    title: isImporting || browser.cameraName.length === 0 ? "Korvane" : browser.cameraName + " - Korvane"
    visible: true

    BrowserPage {
        anchors.fill: parent
        visible: !window.isImporting
        browser: window.browser
    }
    ImportPage {
        anchors.fill: parent
        visible: window.isImporting
        model: window.importModel
    }
}
