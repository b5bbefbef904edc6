// SPDX-License-Identifier: MIT
import QtQuick 2.15
import org.kde.plasma.core 2.0 as PlasmaCore
import org.kde.plasma.extras 2.0 as PlasmaExtras
import com.orvale.kestrum.panel 1.0

// An item of the panel: the agent's picture, and what a button of a panel does.
PlasmaCore.ToolTipArea {
    id: root

    required property string itemId
    required property string text
    required property var picture
    required property real points // the width of the item

    property real unit: 1 // pixels a point
    property real room: 0 // on both sides together
    property bool isOpen: false

    signal chosen
    signal approached

    implicitWidth: points * unit + room
    implicitHeight: drawing.implicitHeight
    mainText: text
    active: !isOpen
    activeFocusOnTab: true

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.focusable: true
    Accessible.onPressAction: root.chosen()

    Keys.onPressed: event => {
        switch (event.key) {
        case Qt.Key_Space:
        case Qt.Key_Enter:
        case Qt.Key_Return:
        case Qt.Key_Select:
            event.accepted = true
            root.chosen()
        }
    }

    PlasmaExtras.Highlight {
        anchors.fill: parent
        visible: mouse.containsMouse || root.isOpen || root.activeFocus
        hovered: true
    }
    Picture {
        id: drawing
        anchors.verticalCenter: parent.verticalCenter
        x: root.room / 2
        width: Math.min(implicitWidth, root.width)
        height: Math.min(implicitHeight, root.height)
        image: root.picture
    }
    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        acceptedButtons: Qt.LeftButton
        onEntered: root.approached()
        onClicked: root.chosen()
    }
}
