#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <functional>
#include <optional>

namespace kestrum {

/// The kernel's table of running processes, read anew at each call. Made for one look: all its start times count from the
/// start of the machine as it was when the first of them was asked for, so that they can be compared. Main thread only.
class ProcessTable {
public:
    /// `root` is where the process file system is; tests bring trees of their own.
    explicit ProcessTable(const QString& root = QStringLiteral("/proc"));

    /// Calls `visit` for each process, in the kernel's listing order, with the path of its executable as bytes up to
    /// 4096, valid during the call. A program whose file was removed or replaced while it runs has its old path, without
    /// the kernel's mark, also when the old file goes on under another name. Processes whose path cannot be read (gone, a kernel thread, somebody else's) are passed over; a table
    /// that cannot be read is empty.
    void forEach(const std::function<void(qint32 pid, QByteArrayView path)>& visit) const;

    /// When the process started, in seconds since 1970, to 10 ms; nothing when the kernel does not say. In a tree that
    /// is not the kernel's own, to the second that its "stat" says the machine was started in.
    std::optional<double> startTime(qint32 pid) const;

private:
    QByteArray m_root;
    mutable std::optional<double> m_bootTime; ///< of the machine, in seconds since 1970
};

} // namespace kestrum
