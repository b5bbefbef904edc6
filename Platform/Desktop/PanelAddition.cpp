// SPDX-License-Identifier: MIT
#include "Platform/Desktop/PanelAddition.h"

#include "Platform/Desktop/CinnamonPanelAddition.h"
#include "Platform/Desktop/DesktopName.h"
#include "Platform/Desktop/GnomePanelAddition.h"
#include "Platform/Desktop/PlasmaPanelAddition.h"
#include "Platform/Desktop/XfcePanelAddition.h"

#include <QStandardPaths>

namespace kestrum {

std::unique_ptr<PanelAddition> PanelAddition::ofDesktop()
{
    const auto isNamed = [](const char* name) { return isDesktop(QLatin1StringView(name)); };
    if (isNamed("kde"))
        return std::make_unique<PlasmaPanelAddition>();
    if (isNamed("x-cinnamon"))
        return std::make_unique<CinnamonPanelAddition>();
    // The notification area holds windows of other programs only on X11.
    if (isNamed("xfce") && qgetenv("XDG_SESSION_TYPE") != "wayland")
        return std::make_unique<XfcePanelAddition>();
    // These desktops name GNOME too, but have panels of their own.
    if (isNamed("gnome") && !isNamed("gnome-flashback") && !isNamed("budgie") && !isNamed("unity"))
        return std::make_unique<GnomePanelAddition>();
    return nullptr;
}

bool PanelAddition::isInstalled(const QString& file)
{
    return !QStandardPaths::locate(QStandardPaths::GenericDataLocation, file).isEmpty();
}

Failure PanelAddition::uninstalled() const
{
    return Failure::withReason(QStringLiteral(
        "%1 is not installed; Kestrum's own package has it, and its sources in the folder bridges")
                                   .arg(title()));
}

} // namespace kestrum
