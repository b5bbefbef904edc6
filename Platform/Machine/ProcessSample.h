// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>
#include <array>
#include <optional>
#include <string_view>

namespace kestrum {

/// A process at one moment. The counters grow while the process lives.
struct ProcessSample {
    qint32 pid = 0;
    qint32 parent = 0;
    qint32 job = 0; ///< the process group: the pid of its leader
    bool isKernelThread = false;
    qint32 terminal = 0;             ///< device number of its terminal, 0 for none; a virtual console is none
    std::array<char, 16> command {}; ///< the kernel's short name, ended by a zero; longer names are cut
    quint64 start = 0;               ///< clock ticks from boot; tells two processes with the same pid apart
    quint64 time = 0;                ///< processor time in clock ticks
    quint64 childrenTime = 0;        ///< of all children that it waited for, and of theirs
    qint64 memory = 0;               ///< bytes that it shares with nobody; only where asked for
    bool hasVolumeCounters = false;  ///< false where not asked for, or not allowed
    quint64 readBytes = 0;           ///< from volumes, with those of the children that it waited for
    quint64 writtenBytes = 0;

    /// Reads a line of "/proc/PID/stat"; nothing if the line is cut or damaged.
    static std::optional<ProcessSample> parsed(std::string_view stat);
    /// Take over what "statm" and "io" of the process contain. Damaged texts change nothing.
    void addMemory(std::string_view statm, qint64 pageSize);
    void addVolumeCounters(std::string_view io);

    bool isSameProcess(const ProcessSample& other) const { return pid == other.pid && start == other.start; }
};

} // namespace kestrum
