// SPDX-License-Identifier: MIT
#include "Platform/LoginItem/LoginItemService.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

namespace kestrum {

namespace {

/// A desktop's settings program for the programs that start at login. `desktop` is a name from "XDG_CURRENT_DESKTOP".
struct SettingsProgram {
    const char* desktop;
    const char* program;
    const char* argument;
};

constexpr SettingsProgram programs[] = {
    { "KDE", "systemsettings", "kcm_autostart" },
    { "KDE", "systemsettings5", "kcm_autostart" },
    { "KDE", "kcmshell5", "kcm_autostart" },
    { "GNOME", "gnome-session-properties", nullptr },
    { "GNOME", "gnome-tweaks", nullptr },
    { "Unity", "gnome-session-properties", nullptr },
    { "XFCE", "xfce4-session-settings", nullptr },
    { "LXQt", "lxqt-config-session", nullptr },
    { "MATE", "mate-session-properties", nullptr },
    { "X-Cinnamon", "cinnamon-settings", "startup" },
    { "Budgie", "budgie-desktop-settings", nullptr },
    { "LXDE", "lxsession-edit", nullptr },
};

bool start(const char* name, const QStringList& arguments)
{
    const QString program = QStandardPaths::findExecutable(QLatin1StringView(name));
    return !program.isEmpty() && QProcess::startDetached(program, arguments);
}

} // namespace

bool LoginItemService::openSystemSettingsLoginItems() const
{
    // The variable lists the most specific name first.
    const QStringList desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':', Qt::SkipEmptyParts);
    for (const QString& desktop : desktops) {
        for (const SettingsProgram& known : programs) {
            const QStringList arguments
                = known.argument ? QStringList { QLatin1StringView(known.argument) } : QStringList();
            if (desktop.compare(QLatin1StringView(known.desktop), Qt::CaseInsensitive) == 0
                && start(known.program, arguments))
                return true;
        }
    }
    // If no settings program can be started, the folder of the entries is opened.
    return start("xdg-open", { QFileInfo(entryPath()).path() });
}

} // namespace kestrum
