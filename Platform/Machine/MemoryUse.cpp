// SPDX-License-Identifier: MIT
#include "Platform/Machine/MemoryUse.h"

#include "Platform/Machine/MemoryText.h"

#include <algorithm>
#include <limits>

namespace kestrum {

MemoryUse::MemoryUse(const QString& root)
    : m_root(root)
    , m_file(root + QStringLiteral("/proc/meminfo"))
    , m_zfsFile(root + QStringLiteral("/proc/spl/kstat/zfs/arcstats"))
    , m_swapsFile(root + QStringLiteral("/proc/swaps"))
{
}

void MemoryUse::sample()
{
    const auto content = m_file.read();
    if (!content)
        return;
    const MemoryText text(*content);
    if (text.setSwap(m_parts))
        listSwap();
    const quint64 zfsCache = MemoryText::zfsCache(m_zfsFile.read().value_or(std::string_view()));
    text.divideMemory(m_parts, zfsCache, zramMemory());
}

double MemoryUse::used() const
{
    return m_parts.total > 0 ? double(m_parts.used()) / double(m_parts.total) : 0;
}

// The list of swap devices is read when the amount of swap changes, and now and then, because another device of the same size
// can take the place of one.
void MemoryUse::listSwap()
{
    const quint64 all = m_parts.swapTotal;
    if (all == m_listedSwap && (all == 0 || --m_untilSwapList > 0))
        return;
    const auto list = all > 0 ? m_swapsFile.read() : std::string_view();
    if (!list)
        return;
    m_listedSwap = all;
    m_untilSwapList = KernelFile::longestPause;
    m_zramFiles.clear();
    for (const quint32 number : MemoryText::zramDevices(*list))
        m_zramFiles.emplace_back(QStringLiteral("%1/sys/block/zram%2/mm_stat").arg(m_root).arg(number));
}

quint64 MemoryUse::zramMemory()
{
    quint64 sum = 0;
    for (KernelFile& file : m_zramFiles) {
        const quint64 memory = MemoryText::zramMemory(file.read().value_or(std::string_view()));
        sum += std::min(memory, std::numeric_limits<quint64>::max() - sum);
    }
    return sum;
}

} // namespace kestrum
