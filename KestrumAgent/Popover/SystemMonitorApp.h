// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Processes/ProcessEnds.h"

#include <QByteArrayList>
#include <QString>
#include <QStringList>

namespace kestrum {

/// The program that shows all processes, to which a popover's list of apps leads: the user's choice, the setting
/// "systemMonitor", else the desktop's own one, else a well-known one that is installed.
class SystemMonitorApp {
public:
    /// The program's path and its arguments; empty if none is installed. `chosen` is the id of a desktop entry or a command;
    /// `desktops` are the names of the running desktop, as in XDG_CURRENT_DESKTOP.
    static QByteArrayList command(const QString& chosen, const QStringList& desktops);

    /// Looks for the program, by the present settings.
    void look();
    /// Whether the last search found a program.
    bool isThere() const { return !m_command.isEmpty(); }
    /// Starts the program that was found. `activationToken` may be empty.
    void open(const QByteArray& activationToken);

private:
    QByteArrayList m_command;
    ProcessEnds m_ends; ///< collects the exit status of the started programs
};

} // namespace kestrum
