// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/MemoryParts.h"

#include <optional>
#include <string_view>
#include <vector>

namespace kestrum {

/// What the kernel's files say of memory and swap. A value that is missing or damaged is absent or 0.
class MemoryText {
public:
    /// `meminfo` is what "/proc/meminfo" says.
    explicit MemoryText(std::string_view meminfo);

    /// Sets the parts of the memory in `parts`, which always add up, whatever the kernel writes. Does nothing if it is not known
    /// how much memory there is, or is available. `zfsCache` and `zramMemory` are in bytes.
    void divideMemory(MemoryParts& parts, quint64 zfsCache, quint64 zramMemory) const;
    /// Sets the swap in `parts`. Returns false, and does nothing, if it is not known.
    bool setSwap(MemoryParts& parts) const;

    /// What ZFS's cache would give back, in bytes, from the statistics of this cache ("arcstats").
    static quint64 zfsCache(std::string_view statistics);
    /// The memory in bytes that a zram device takes with its losses, from its statistics ("mm_stat").
    static quint64 zramMemory(std::string_view statistics);
    /// The numbers of the zram devices in "/proc/swaps".
    static std::vector<quint32> zramDevices(std::string_view swaps);

private:
    enum Amount {
        total,
        available,
        free,
        buffers,
        cached,
        reclaimable,
        anonymous,
        shared,
        swapTotal,
        swapFree,
        zswap, ///< since kernel 5.19
        amountCount
    };
    static constexpr std::string_view names[amountCount] = { "MemTotal:", "MemAvailable:", "MemFree:",
        "Buffers:", "Cached:", "SReclaimable:", "AnonPages:", "Shmem:", "SwapTotal:", "SwapFree:", "Zswap:" };

    quint64 orNone(Amount amount) const { return m_amounts[amount].value_or(0); }
    std::optional<quint64> availableAmount() const;

    std::optional<quint64> m_amounts[amountCount]; ///< KiB
};

} // namespace kestrum
