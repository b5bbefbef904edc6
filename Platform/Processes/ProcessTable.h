// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>
#include <functional>
#include <optional>

namespace kestrum {

/// The kernel's table of running processes, read at each call. Use one object to compare start times: the object measures the
/// boot time once and uses it for all start times. Main thread only.
class ProcessTable {
public:
    /// `root` is the mount point of the process file system; tests pass other directories.
    explicit ProcessTable(const QString& root = QStringLiteral("/proc"));

    /// Calls `visit` for each process, in the kernel's order. `path` is the path of the executable: up to 4096 bytes, valid
    /// during the call. If the file was removed or replaced since the start, `path` is the old path without the kernel's mark
    /// for such files, even if the old file has another hard link. Processes without a readable path (ended, kernel threads,
    /// other users' processes) are skipped. If the table cannot be read, `visit` is not called.
    void forEach(const std::function<void(qint32 pid, QByteArrayView path)>& visit) const;

    /// When the process started, in seconds since 1970, with a resolution of 10 ms; nothing if it cannot be read. If `root` is
    /// not a process file system, the boot time comes from its "stat" file, in whole seconds.
    std::optional<double> startTime(qint32 pid) const;

    /// The process that started `pid`, or that took it over when that one ended; nothing if it cannot be read.
    std::optional<qint32> parent(qint32 pid) const;
    /// The processes whose parent is `pid`, in the kernel's order, also those that have ended and are not waited for yet.
    QList<qint32> children(qint32 pid) const;

private:
    qulonglong number(qint32 pid, qsizetype field, bool& isNumber) const;

    QByteArray m_root;
    mutable std::optional<double> m_bootTime; ///< of the machine, in seconds since 1970
};

} // namespace kestrum
