// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/KernelFile.h"
#include "Platform/Machine/MemoryParts.h"

#include <vector>

namespace kestrum {

/// Memory and swap in use, from "/proc/meminfo". The cache of ZFS, which the kernel counts as used, counts as cache.
class MemoryUse {
public:
    explicit MemoryUse(const QString& root = {});

    /// Reads the values again. A value that cannot be read does not change.
    void sample();

    /// The share of memory that is not available to a new program, 0…1.
    double used() const;
    const MemoryParts& parts() const { return m_parts; }

private:
    void listSwap();
    quint64 zramMemory();

    QString m_root;
    KernelFile m_file;
    KernelFile m_zfsFile;
    KernelFile m_swapsFile;
    quint64 m_listedSwap = 0; ///< the amount of swap for which the list of devices was read
    int m_untilSwapList = 0;  ///< samples until the list is read again though the amount is the same
    std::vector<KernelFile> m_zramFiles; ///< of the devices that are used as swap
    MemoryParts m_parts;
};

} // namespace kestrum
