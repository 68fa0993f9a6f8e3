import QtQuick

// Three dots that come and go. They wait a little, so that an answer that comes at once makes nothing flash.
Row {
    id: mark

    required property Item look
    readonly property bool isOn: look.isLoading

    spacing: 8
    opacity: 0
    visible: opacity > 0
    Accessible.role: Accessible.Indicator
    Accessible.name: "Loading"
    onIsOnChanged: {
        delay.stop()
        opacity = 0
        if (isOn)
            delay.start()
    }
    Component.onCompleted: if (isOn) delay.start()

    SequentialAnimation {
        id: delay

        PauseAnimation {
            duration: 150
        }
        PropertyAction {
            target: mark
            property: "opacity"
            value: 1
        }
    }

    Repeater {
        model: 3

        Rectangle {
            id: dot

            required property int index

            width: 10
            height: 10
            radius: 5
            antialiasing: true
            color: mark.look.markColor

            SequentialAnimation on opacity {
                running: mark.visible
                loops: Animation.Infinite

                PauseAnimation {
                    duration: 160 * dot.index
                }
                NumberAnimation {
                    from: 0.25
                    to: 1
                    duration: 320
                }
                NumberAnimation {
                    to: 0.25
                    duration: 320
                }
                PauseAnimation {
                    duration: 160 * (2 - dot.index)
                }
            }
        }
    }
}
