// SPDX-License-Identifier: MIT
#include "Platform/LoginItem/LoginItemService.h"

#include "Platform/Processes/ProcessEnds.h"
#include "Platform/Processes/ProgramStart.h"

#include <QFileInfo>

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

bool start(const char* name, const QByteArrayList& arguments)
{
    const QString program = ProgramStart::find(QLatin1StringView(name));
    if (program.isEmpty())
        return false;
    const auto pid = ProgramStart::start(QFile::encodeName(program), arguments);
    if (!pid)
        return false;
    // Never destroyed: the settings program may stay longer than any window.
    static auto* const ends = new ProcessEnds;
    ends->follow(*pid, ProcessEnds::Kind::child);
    return true;
}

} // namespace

bool LoginItemService::openSystemSettingsLoginItems() const
{
    // The variable lists the most specific name first.
    const QStringList desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':', Qt::SkipEmptyParts);
    for (const QString& desktop : desktops) {
        for (const SettingsProgram& known : programs) {
            const QByteArrayList arguments
                = known.argument ? QByteArrayList { known.argument } : QByteArrayList();
            if (desktop.compare(QLatin1StringView(known.desktop), Qt::CaseInsensitive) == 0
                && start(known.program, arguments))
                return true;
        }
    }
    // If no settings program can be started, the folder of the entries is opened.
    return start("xdg-open", { QFile::encodeName(QFileInfo(entryPath()).path()) });
}

} // namespace kestrum
