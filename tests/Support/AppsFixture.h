#pragma once

#include "Platform/Machine/AppGrouping.h"
#include "tests/Support/FakeProcesses.h"

#include <chrono>
#include <optional>

namespace kestrum {

/// The processes of a `FakeProcesses` with their apps.
class GroupedMachine {
public:
    GroupedMachine(const FakeProcesses& processes, const QStringList& dataFolders)
        : m_list(processes.root())
        , m_grouping(m_list, dataFolders)
    {
    }

    /// Takes a sample. Gives the name of each process's app, by pid.
    QMap<int, QString> names(
        const AppLanguageTexts& language = { QStringLiteral("en"), QStringLiteral("Container") })
    {
        std::swap(m_before, m_now);
        m_list.read(ProcessList::Extra::none, m_now);
        m_match.match(m_before, m_now);
        const std::vector<int>& places = m_grouping.group(m_before, m_now, m_match, language, m_time);
        QMap<int, QString> names;
        m_ids.clear();
        for (std::size_t i = 0; i < m_now.size(); ++i) {
            const AppGrouping::App& app = m_grouping.apps()[std::size_t(places[i])];
            names.insert(m_now[i].pid, app.name);
            m_ids.insert(m_now[i].pid, app.id);
        }
        return names;
    }
    void pass(std::chrono::milliseconds time) { m_time += time; }
    /// The id of the process's app in the last sample.
    QString id(int pid) const { return m_ids.value(pid); }
    std::size_t appCount() const { return m_grouping.apps().size(); }

private:
    ProcessList m_list;
    AppGrouping m_grouping;
    ProcessSamples m_before;
    ProcessSamples m_now;
    ProcessMatch m_match;
    QMap<int, QString> m_ids;
    std::chrono::nanoseconds m_time = std::chrono::hours(1);
};

/// A machine with usual applications, to which a test adds processes.
class AppsFixture {
public:
    using Names = QMap<int, QString>;

    AppsFixture()
    {
        addEntry("firefox-esr",
            "Name=Firefox ESR\nExec=/usr/lib/firefox-esr/firefox-esr %u\nStartupWMClass=firefox-esr\n");
        addEntry("org.mozilla.firefox",
            "Name=Firefox\nExec=/usr/bin/flatpak run --branch=stable --command=firefox "
            "org.mozilla.firefox\n");
        addEntry("firefox_firefox", "Name=Firefox (snap)\nExec=env BAMF=x /snap/bin/firefox %u\n");
        addEntry("org.gnome.Shell",
            "Name=GNOME Shell\nName[de]=GNOME-Oberfläche\nExec=/usr/bin/gnome-shell\nNoDisplay=true\n");
        addEntry("org.gnome.Terminal", "Name=Terminal\nExec=gnome-terminal\n");
        addEntry("org.kde.dolphin", "Name=Dolphin\nExec=dolphin %u\n");
        addEntry("org.kde.konsole", "Name=Konsole\nExec=konsole\n");
        addEntry("thunar", "Name=Thunar File Manager\nExec=thunar %F\n");
        addEntry("rofi", "Name=Rofi\nExec=rofi -show drun\n");
        addEntry("com.system76.CosmicAppList", "Name=App Tray\nExec=cosmic-app-list\nNoDisplay=true\n");
        addEntry("virt-manager", "Name=Virtual Machine Manager\nExec=virt-manager\n");
        addEntry("cups", "Name=Manage Printing\nExec=xdg-open http://localhost:631/\n");
    }

    /// Adds an application.
    void addEntry(const char* id, const QByteArray& keys) const
    {
        m_entries.write(
            QStringLiteral("applications/%1.desktop").arg(QLatin1StringView(id)), "[Desktop Entry]\n" + keys);
    }
    void add(const FakeProcess& process) const { m_processes.add(process); }
    const FakeProcesses& processes() const { return m_processes; }
    const FileTree& entries() const { return m_entries; }

    GroupedMachine machine() const { return { m_processes, { m_entries.root() } }; }
    GroupedMachine machine(const QList<FakeProcess>& processes) const
    {
        for (const FakeProcess& process : processes)
            m_processes.add(process);
        return machine();
    }

private:
    FakeProcesses m_processes;
    FileTree m_entries;
};

} // namespace kestrum
