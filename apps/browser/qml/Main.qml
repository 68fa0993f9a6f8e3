import QtQuick
import Korvane.Browser

Window {
    id: window

    required property Browser browser
    required property Preferences preferences
    required property ImportModel importModel
    property bool isImporting: false

    width: 1280
    height: 800
    minimumWidth: 360
    minimumHeight: 320
    color: Theme.window
    title: isImporting || browser.cameraName.length === 0 ? "Korvane" : browser.cameraName + " - Korvane"
    visible: true

    Binding {
        target: Theme
        property: "isDark"
        value: window.preferences.isDark
    }
    BrowserPage {
        anchors.fill: parent
        visible: !window.isImporting
        browser: window.browser
        preferences: window.preferences
    }
    ImportPage {
        anchors.fill: parent
        visible: window.isImporting
        model: window.importModel
    }
}
