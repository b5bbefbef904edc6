// SPDX-License-Identifier: MIT
import QtQuick 2.15
import org.kde.plasma.core 2.0 as PlasmaCore
import com.orvale.kestrum.panel 1.0

// The popover beside its item. The picture has its own ground, with round corners. What the user does goes to the agent.
PlasmaCore.Dialog {
    id: root

    property AgentClient agent
    property real unit: 1
    readonly property real distance: 6 * unit // from the panel and from the edges of the screen

    type: PlasmaCore.Dialog.AppletPopup
    flags: Qt.WindowStaysOnTopHint
    backgroundHints: PlasmaCore.Dialog.NoBackground
    hideOnWindowDeactivate: true

    // The window hides itself when the user turns to something else.
    onVisibleChanged: {
        if (!visible)
            agent.closePopover()
    }

    readonly property Connections connections: Connections {
        target: root.agent
        function onPopoverChanged() {
            const isWanted = root.agent.popoverItem !== "" && root.visualParent !== null
            if (isWanted && !root.visible) {
                root.visible = true
                root.requestActivate()
                keyboard.forceActiveFocus()
            } else if (!isWanted && root.agent.openItem === "") {
                root.visible = false
            }
        }
    }

    mainItem: Item {
        id: keyboard

        implicitWidth: picture.implicitWidth + 2 * root.distance
        implicitHeight: picture.implicitHeight + 2 * root.distance
        width: implicitWidth
        height: implicitHeight
        focus: true

        Accessible.role: Accessible.Pane
        Accessible.name: root.agent.popoverText
        Accessible.focusable: true

        Keys.onPressed: event => {
            event.accepted = true
            // Closes even where the agent hangs.
            if (event.key === Qt.Key_Escape)
                root.agent.closePopover()
            else
                event.accepted = root.agent.pressKey(event.key, event.modifiers)
        }

        Picture {
            id: picture
            anchors.centerIn: parent
            image: root.agent.popoverPicture
        }
        MouseArea {
            anchors.fill: picture
            hoverEnabled: true
            acceptedButtons: Qt.LeftButton

            function tell(kind, place, notches) {
                root.agent.point(kind, Qt.point(place.x / root.unit, place.y / root.unit), notches)
            }
            onPositionChanged: mouse => tell("move", mouse, 0)
            onPressed: mouse => tell("press", mouse, 0)
            onReleased: mouse => tell("release", mouse, 0)
            onExited: tell("leave", Qt.point(0, 0), 0)
            onWheel: wheel => tell("scroll", wheel, wheel.angleDelta.y / 120)
        }
    }
}
