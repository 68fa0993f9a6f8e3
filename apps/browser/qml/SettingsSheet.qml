import QtQuick
import Korvane.Browser

Sheet {
    id: sheet

    required property Browser browser
    required property Preferences preferences
    signal helpWanted
    signal folderWanted

    component Heading: Label {
        width: parent.width
        topPadding: Theme.unit / 2
        font.pixelSize: 12
        color: Theme.secondary
    }

    title: "Settings"
    first: group

    Toggle {
        id: group

        text: "Show what is close together as one"
        checked: sheet.browser.groups
        onToggled: sheet.browser.groups = checked
    }
    Toggle {
        text: "Go on with the next when one is over"
        checked: sheet.browser.playsOn
        onToggled: sheet.browser.playsOn = checked
    }
    Toggle {
        text: "Recordings instead of events"
        enabled: sheet.browser.page === Browser.Events
        checked: sheet.browser.showsRecordings
        onToggled: sheet.browser.showsRecordings = checked
    }
    Toggle {
        visible: sheet.browser.player.hasSound
        text: "Sound"
        checked: !sheet.browser.player.muted
        onToggled: sheet.browser.player.muted = !checked
    }
    Heading { text: "Clock" }
    Row {
        spacing: Theme.unit

        Option {
            text: "24 hours"
            checked: !sheet.preferences.hasTwelveHours
            onToggled: sheet.preferences.hasTwelveHours = false
        }
        Option {
            text: "12 hours"
            checked: sheet.preferences.hasTwelveHours
            onToggled: sheet.preferences.hasTwelveHours = true
        }
    }
    Heading { text: "Look" }
    Row {
        spacing: Theme.unit

        Option {
            text: "As the system"
            checked: sheet.preferences.look === Preferences.System
            onToggled: sheet.preferences.look = Preferences.System
        }
        Option {
            text: "Light"
            checked: sheet.preferences.look === Preferences.Light
            onToggled: sheet.preferences.look = Preferences.Light
        }
        Option {
            text: "Dark"
            checked: sheet.preferences.look === Preferences.Dark
            onToggled: sheet.preferences.look = Preferences.Dark
        }
    }

    Heading { text: "Recordings" }
    TextButton {
        text: "Open another folder\u2026"
        onClicked: {
            sheet.close()
            sheet.folderWanted()
        }
    }

    actions: [
        TextButton {
            text: "Keys"
            onClicked: {
                sheet.close()
                sheet.helpWanted()
            }
        },
        TextButton {
            text: "Done"
            onClicked: sheet.close()
        }
    ]
}
