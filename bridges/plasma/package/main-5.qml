// SPDX-License-Identifier: MIT
import QtQuick 2.15
import QtQuick.Layouts 1.15
import org.kde.plasma.core 2.0 as PlasmaCore
import org.kde.plasma.plasmoid 2.0

// The widget in Plasma 5.
Item {
    id: root

    Plasmoid.preferredRepresentation: Plasmoid.fullRepresentation
    Plasmoid.backgroundHints: PlasmaCore.Types.DefaultBackground
    Plasmoid.status: row.agent.openItem !== "" ? PlasmaCore.Types.RequiresAttentionStatus
        : row.agent.isAttached ? PlasmaCore.Types.ActiveStatus : PlasmaCore.Types.PassiveStatus
    Plasmoid.onActivated: row.toggleFirst()

    Layout.minimumWidth: row.Layout.minimumWidth
    Layout.maximumWidth: row.Layout.maximumWidth
    Layout.minimumHeight: row.Layout.minimumHeight
    Layout.maximumHeight: row.Layout.maximumHeight

    // Plasma calls this for the entries of its menu that are ours.
    function actionTriggered(name) {
        row.choose(name)
    }

    Connections {
        target: row.agent
        function onActionsChanged() {
            Plasmoid.clearActions()
            let separators = 0
            for (const entry of row.agent.actions) {
                if (entry.isSeparator) {
                    Plasmoid.setActionSeparator("separator" + separators++)
                } else {
                    Plasmoid.setAction(entry.id, entry.title)
                    Plasmoid.action(entry.id).enabled = entry.isEnabled
                }
            }
            if (row.agent.actions.length > 0)
                Plasmoid.setActionSeparator("end") // Plasma's own follow
        }
    }

    ItemRow {
        id: row
        anchors.fill: parent
        isVertical: Plasmoid.formFactor === PlasmaCore.Types.Vertical
        location: Plasmoid.location
        foreground: PlasmaCore.ColorScope.textColor
        unit: PlasmaCore.Units.devicePixelRatio
        screenHeight: Plasmoid.availableScreenRect.height
        placeholder: PlasmaCore.IconItem {
            source: Plasmoid.icon
            opacity: 0.5
        }
    }
}
