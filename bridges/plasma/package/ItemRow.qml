// SPDX-License-Identifier: MIT
import QtQuick 2.15
import QtQuick.Layouts 1.15
import org.kde.plasma.core 2.0 as PlasmaCore
import com.orvale.kestrum.panel 1.0

// The items of the agent side by side, in a vertical panel one below the other, and the popover of one of them. Without an item,
// a symbol keeps the place.
Item {
    id: root

    property bool isVertical: false
    property int location: PlasmaCore.Types.BottomEdge
    property color foreground
    property real unit: 1 // how large this Plasma shows a point, in its own pixels
    property real screenHeight: 800 // of the panel's screen, without the panels there, in the same pixels
    property Component placeholder // the symbol
    readonly property alias agent: agent

    readonly property int itemHeight: 22 // points
    readonly property int spare: 4 // points: a picture is a little wider than its item
    // Smaller than usual where the panel has not the room.
    readonly property real fit: {
        const wanted = (isVertical ? agent.items.widest + spare : itemHeight) * unit
        const room = isVertical ? width : height
        return wanted > 0 && room > 0 ? Math.min(1, room / wanted) : 1
    }

    function itemOf(id) {
        const row = agent.items.row(id)
        return row < 0 ? null : items.itemAt(row)
    }
    function toggle(id) {
        if (agent.openItem === id)
            agent.closePopover()
        else
            agent.openPopover(id)
    }
    // What the widget's own shortcut does.
    function toggleFirst() {
        if (agent.openItem !== "")
            agent.closePopover()
        else
            agent.openPopover(agent.items.id(0))
    }
    function choose(action) {
        token.request(root, token => agent.choose(action, token))
    }

    // The user has put the items in this order, and sees it in the settings and in the popover's arrows: it is from left to right in
    // every language.
    LayoutMirroring.enabled: false
    LayoutMirroring.childrenInherit: true

    // The length that the panel gives: of the items, or of the symbol.
    readonly property real length: items.count === 0 ? (isVertical ? width : height)
        : Math.ceil(isVertical ? content.implicitHeight : content.implicitWidth)
    Layout.minimumWidth: isVertical ? -1 : length
    Layout.maximumWidth: isVertical ? Infinity : length
    Layout.minimumHeight: isVertical ? length : -1
    Layout.maximumHeight: isVertical ? length : Infinity

    AgentClient {
        id: agent
        scale: root.unit * root.fit * screen.ratio
        popoverScale: root.unit * screen.ratio
        popoverRoom: (root.screenHeight - 2 * popover.distance) / root.unit
        foreground: root.foreground
        onChoiceRequested: action => root.choose(action)
    }
    Picture {
        id: screen // shows nothing, and knows the ratio before there are items
    }
    ActivationToken {
        id: token
    }

    Grid {
        id: content
        anchors.centerIn: parent
        rows: root.isVertical ? -1 : 1
        columns: root.isVertical ? 1 : -1
        horizontalItemAlignment: Grid.AlignHCenter

        Repeater {
            id: items
            model: agent.items
            delegate: PanelItem {
                unit: root.unit * root.fit
                room: root.isVertical ? root.spare * unit / 2 : agent.items.gap * unit
                width: root.isVertical ? root.width : implicitWidth
                height: root.isVertical ? implicitHeight + 4 * unit : root.height
                isOpen: agent.openItem === itemId
                location: root.location
                onChosen: root.toggle(itemId)
                onApproached: agent.requestActions(itemId)
            }
        }
    }
    Loader {
        anchors.fill: parent
        active: items.count === 0
        sourceComponent: root.placeholder
    }

    PopoverDialog {
        id: popover
        agent: agent
        unit: root.unit
        location: root.location
        visualParent: agent.popoverItem === "" ? null : root.itemOf(agent.popoverItem)
    }
}
