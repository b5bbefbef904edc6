// SPDX-License-Identifier: MIT
#include "KestrumAgent/Popover/SystemMonitorApp.h"

#include "KestrumShared/Settings/Setting.h"
#include "Platform/Desktop/WindowActivation.h"
#include "Platform/Log/Log.h"
#include "Platform/LoginItem/DesktopEntry.h"
#include "Platform/Processes/ProgramStart.h"

#include <QFile>
#include <QStandardPaths>
#include <algorithm>
#include <utility>

namespace kestrum {

namespace {

constexpr qint64 longestEntry = 256 * 1024;

/// Each desktop's own program, by the names of its desktop entry in old and new versions.
constexpr std::pair<const char*, const char*> ownPrograms[] = {
    { "GNOME", "org.gnome.SystemMonitor" },
    { "GNOME", "gnome-system-monitor" },
    { "X-Cinnamon", "org.gnome.SystemMonitor" },
    { "X-Cinnamon", "gnome-system-monitor" },
    { "Budgie", "org.gnome.SystemMonitor" },
    { "Budgie", "gnome-system-monitor" },
    { "KDE", "org.kde.plasma-systemmonitor" },
    { "XFCE", "xfce4-taskmanager" },
    { "MATE", "mate-system-monitor" },
    { "LXQt", "qps" },
};

constexpr const char* wellKnown[]
    = { "io.missioncenter.MissionCenter", "net.nokyan.Resources", "btop", "htop" };

/// Programs that show another one in a terminal, and the arguments that come before it.
constexpr std::pair<const char*, const char*> terminals[] = {
    { "xdg-terminal-exec", nullptr },
    { "x-terminal-emulator", "-e" },
    { "konsole", "-e" },
    { "gnome-terminal", "--" },
    { "ptyxis", "--" },
    { "kgx", "-e" }, // one word only, which the usual programs are
    { "xfce4-terminal", "-x" },
    { "mate-terminal", "-x" },
    { "lxterminal", "-e" },
    { "qterminal", "-e" },
    { "foot", nullptr },
    { "kitty", nullptr },
    { "wezterm", "start" },
    { "alacritty", "-e" },
    { "xterm", "-e" },
};

/// `words` with the program's full path; empty if the program is not installed.
QByteArrayList installed(QByteArrayList words)
{
    if (words.isEmpty())
        return {};
    const QString program = ProgramStart::find(QFile::decodeName(words.first()));
    if (program.isEmpty())
        return {};
    words.first() = QFile::encodeName(program);
    return words;
}

QByteArrayList inTerminal(const QByteArrayList& words)
{
    for (const auto& [terminal, argument] : terminals) {
        QByteArrayList shown = installed({ terminal });
        if (shown.isEmpty())
            continue;
        if (argument)
            shown.append(argument);
        return shown + words;
    }
    return {};
}

/// The command of the desktop entry with that id; empty if it is not there, switched off, or names a missing program.
QByteArrayList commandOfEntry(const QString& id)
{
    const QString name = id.endsWith(QLatin1StringView(".desktop")) ? id : id + QStringLiteral(".desktop");
    const QString path = name.contains(u'/')
        ? QString()
        : QStandardPaths::locate(QStandardPaths::ApplicationsLocation, name);
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly))
        return {};
    const DesktopEntry entry = DesktopEntry::parsed(file.read(longestEntry));
    const auto tried = entry.value("TryExec");
    if (entry.value("Hidden") == "true"
        || (tried && installed({ DesktopEntry::unescaped(*tried) }).isEmpty()))
        return {};
    QByteArrayList words = DesktopEntry::wordsOf(entry.value("Exec").value_or(QByteArray()));
    words.removeAll(QByteArray()); // the places for files, of which there are none
    words = installed(words);
    return entry.value("Terminal") == "true" && !words.isEmpty() ? inTerminal(words) : words;
}

} // namespace

QByteArrayList SystemMonitorApp::command(const QString& chosen, const QStringList& desktops)
{
    QByteArrayList found = commandOfEntry(chosen);
    if (found.isEmpty() && !chosen.isEmpty())
        found = installed(DesktopEntry::wordsOf(DesktopEntry::escaped(chosen.toUtf8())));
    for (const auto& [desktop, id] : ownPrograms) {
        if (found.isEmpty() && desktops.contains(QLatin1StringView(desktop)))
            found = commandOfEntry(QString::fromLatin1(id));
    }
    for (const char* id : wellKnown) {
        if (found.isEmpty())
            found = commandOfEntry(QString::fromLatin1(id));
    }
    return found;
}

void SystemMonitorApp::look()
{
    m_command = command(Setting(Keys::systemMonitor, QString()).value(),
        qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':'));
}

void SystemMonitorApp::open(const QByteArray& activationToken)
{
    if (m_command.isEmpty())
        return;
    const auto pid = ProgramStart::start(
        m_command.first(), m_command.mid(1), WindowActivation::environment(activationToken));
    if (pid)
        m_ends.follow(*pid, ProcessEnds::Kind::child);
    else
        Log::warning(
            "agent", QStringLiteral("the system monitor cannot be started: %1").arg(pid.failureText()));
}

} // namespace kestrum
