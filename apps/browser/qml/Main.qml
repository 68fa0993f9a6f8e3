import QtQuick
import Korvane.Browser

Window {
    id: window

    required property Browser browser
    required property Preferences preferences
    required property ImportModel importModel
    property bool isImporting: true

    function chooseFolder() {
        chooser.active = true
        chooser.item.currentFolder = importModel.nearby()
        chooser.item.open()
    }

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
    // Loaded when it is needed: a dialog takes longer to make than all the rest.
    Loader {
        id: chooser

        active: false
        source: "FolderChooser.qml"
    }
    Connections {
        target: chooser.item

        function onAccepted() { window.importModel.choose(chooser.item.selectedFolder) }
    }
    Shortcut {
        sequences: [StandardKey.Open]
        onActivated: window.chooseFolder()
    }
    DropArea {
        anchors.fill: parent
        keys: ["text/uri-list"]
        onDropped: drop => { if (drop.hasUrls) window.importModel.choose(drop.urls[0]) }
    }
    BrowserPage {
        anchors.fill: parent
        visible: !window.isImporting
        focus: visible
        browser: window.browser
        preferences: window.preferences
        onFolderWanted: window.chooseFolder()
    }
    ImportPage {
        anchors.fill: parent
        visible: window.isImporting
        focus: visible
        model: window.importModel
        onFolderWanted: window.chooseFolder()
    }
}
