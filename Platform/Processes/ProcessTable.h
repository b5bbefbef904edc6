// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <functional>
#include <optional>

namespace kestrum {

/// The kernel's table of running processes, read at each call. Create one object for each comparison of start times: all its
/// start times use the boot time that was measured for the first one. Main thread only.
class ProcessTable {
public:
    /// `root` is where the process file system is mounted; tests pass their own trees.
    explicit ProcessTable(const QString& root = QStringLiteral("/proc"));

    /// Calls `visit` for each process, in the kernel's order, with the path of its executable: up to 4096 bytes, valid during
    /// the call. If the file was removed or replaced since the start, the path is the old one without the kernel's mark, even
    /// if the old file has another hard link. Processes without a readable path (ended, kernel threads, other users' processes)
    /// are skipped. If the table cannot be read, `visit` is not called.
    void forEach(const std::function<void(qint32 pid, QByteArrayView path)>& visit) const;

    /// When the process started, in seconds since 1970, with a resolution of 10 ms; nothing if it cannot be read. If `root` is
    /// not a process file system, the boot time comes from its "stat" file, in whole seconds.
    std::optional<double> startTime(qint32 pid) const;

private:
    QByteArray m_root;
    mutable std::optional<double> m_bootTime; ///< of the machine, in seconds since 1970
};

} // namespace kestrum
