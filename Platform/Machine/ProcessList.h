// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/ProcessSample.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QString>
#include <span>
#include <vector>

namespace kestrum {

/// All processes of a machine, sorted by pid.
using ProcessSamples = std::vector<ProcessSample>;

/// Reads the processes of a machine. Works in one thread at a time.
class ProcessList {
public:
    /// A longer line of ancestors goes in a circle: the table was changed while it was read.
    static constexpr int mostAncestors = 1000;

    /// What is read of each process besides its "stat", which needs another file.
    enum class Extra { none, memory, volumes };

    explicit ProcessList(const QString& root = {});

    /// Replaces the content of `samples` by the processes of now. A process that ends meanwhile is left out. Empty if there is
    /// no process table.
    void read(Extra extra, ProcessSamples& samples);

    /// The content of the process's "cgroup"; empty if it cannot be read.
    QByteArray controlGroups(qint32 pid) const;
    /// The path of the process's program without the kernel's mark for removed files; empty if it is unknown or not allowed.
    QByteArray programPath(qint32 pid) const;
    /// The words of the process's command line, up to 4096 bytes. Waits while the process changes its memory map, so ask only
    /// where nothing else helps.
    QByteArrayList commandLine(qint32 pid) const;

    /// The place of the process with this pid in sorted samples; nothing if there is none.
    static std::optional<std::size_t> find(const ProcessSamples& samples, qint32 pid);

private:
    QByteArray m_table; ///< path of the process table
    std::vector<char> m_listing;
};

} // namespace kestrum
