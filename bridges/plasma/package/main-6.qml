// SPDX-License-Identifier: MIT
import QtQuick
import QtQuick.Layouts
import QtQml.Models
import org.kde.kirigami as Kirigami
import org.kde.plasma.core as PlasmaCore
import org.kde.plasma.plasmoid

// The widget in Plasma 6.
PlasmoidItem {
    id: root

    preferredRepresentation: fullRepresentation
    Plasmoid.status: row.agent.openItem !== "" ? PlasmaCore.Types.RequiresAttentionStatus
        : row.agent.isAttached ? PlasmaCore.Types.ActiveStatus : PlasmaCore.Types.PassiveStatus
    Plasmoid.onActivated: row.toggleFirst()

    Layout.minimumWidth: row.Layout.minimumWidth
    Layout.maximumWidth: row.Layout.maximumWidth
    Layout.minimumHeight: row.Layout.minimumHeight
    Layout.maximumHeight: row.Layout.maximumHeight

    Instantiator {
        model: row.agent.actions
        delegate: PlasmaCore.Action {
            required property var modelData
            text: modelData.title
            enabled: modelData.isEnabled
            isSeparator: modelData.isSeparator
            onTriggered: row.choose(modelData.id)
        }
        onObjectAdded: root.showActions(this)
        onObjectRemoved: root.showActions(this)
    }
    function showActions(made) {
        const list = []
        for (let i = 0; i < made.count; ++i)
            list.push(made.objectAt(i))
        Plasmoid.contextualActions = list
    }

    ItemRow {
        id: row
        anchors.fill: parent
        isVertical: Plasmoid.formFactor === PlasmaCore.Types.Vertical
        location: Plasmoid.location
        foreground: Kirigami.Theme.textColor
        screenHeight: Plasmoid.containment.availableScreenRect.height
        placeholder: Kirigami.Icon {
            source: Plasmoid.icon
            opacity: 0.5
        }
    }
}
