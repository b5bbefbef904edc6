// SPDX-License-Identifier: MIT
#include "Platform/Machine/MemoryUse.h"

#include "Platform/Machine/KernelText.h"

#include <algorithm>
#include <limits>

namespace kestrum {
namespace {

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
constexpr std::string_view names[amountCount] = { "MemTotal:", "MemAvailable:", "MemFree:", "Buffers:",
    "Cached:", "SReclaimable:", "AnonPages:", "Shmem:", "SwapTotal:", "SwapFree:", "Zswap:" };

// In KiB. Below this limit, an amount in bytes and the sum of a few amounts fit in 64 bits.
constexpr quint64 largestAmount = std::numeric_limits<quint64>::max() / 1024 / 8;

struct Amounts {
    std::optional<quint64> values[amountCount];
    quint64 orNone(Amount amount) const { return values[amount].value_or(0); }
};

Amounts parsed(std::string_view content)
{
    Amounts amounts;
    std::size_t missing = amountCount;
    while (!content.empty() && missing > 0) {
        std::string_view line = KernelText::takeLine(content);
        const std::string_view name = KernelText::takeWord(line);
        const auto* const found = std::find(std::begin(names), std::end(names), name);
        if (found == std::end(names))
            continue;
        auto& value = amounts.values[found - std::begin(names)];
        const auto number = KernelText::wholeNumber<quint64>(KernelText::takeWord(line));
        if (!value && number && *number <= largestAmount) {
            value = number;
            --missing;
        }
    }
    return amounts;
}

// The available memory in KiB. Kernels before 3.14 do not report this value; the result is then the free memory plus the
// cached memory that is not shared.
std::optional<quint64> availableOf(const Amounts& amounts)
{
    if (amounts.values[available] || !amounts.values[free])
        return amounts.values[available];
    const quint64 cache = amounts.orNone(buffers) + amounts.orNone(cached) + amounts.orNone(reclaimable);
    return amounts.orNone(free) + cache - std::min(cache, amounts.orNone(shared));
}

// The third word of a zram device's statistics: the memory in bytes that the device takes, with its losses.
quint64 zramTotal(std::string_view statistics)
{
    KernelText::takeWord(statistics);
    KernelText::takeWord(statistics);
    return KernelText::wholeNumber<quint64>(KernelText::takeWord(statistics)).value_or(0);
}

} // namespace

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
    const Amounts amounts = parsed(*content);
    sampleSwap(amounts.values[swapTotal], amounts.values[swapFree]);
    const quint64 all = amounts.orNone(total) * 1024;
    const auto left = availableOf(amounts);
    if (all == 0 || !left)
        return;
    // Each amount is cut to what is left for it, so the parts always add up, whatever the kernel writes.
    const quint64 ofKernel = std::min(*left * 1024, all);
    const quint64 given = ofKernel + std::min(zfsCache(), all - ofKernel);
    const quint64 used = all - given;
    const quint64 inZswap = std::min(amounts.orNone(zswap) * 1024, used);
    m_parts.total = all;
    m_parts.compressed = inZswap + std::min(zramMemory(), used - inZswap);
    m_parts.app
        = std::min((amounts.orNone(anonymous) + amounts.orNone(shared)) * 1024, used - m_parts.compressed);
    m_parts.system = used - m_parts.compressed - m_parts.app;
    m_parts.free = std::min(amounts.orNone(free) * 1024, given);
    m_parts.cache = given - m_parts.free;
}

double MemoryUse::used() const
{
    return m_parts.total > 0 ? double(m_parts.used()) / double(m_parts.total) : 0;
}

// The list of swap devices is read when the amount of swap changes, and now and then, because another device of the same size
// can take the place of one.
void MemoryUse::sampleSwap(std::optional<quint64> total, std::optional<quint64> free)
{
    if (!total || !free)
        return;
    const quint64 all = *total * 1024;
    m_parts.swapUsed = all - std::min(all, *free * 1024);
    m_parts.swapTotal = all;
    if (all == m_listedSwap && (all == 0 || --m_untilSwapList > 0))
        return;
    const auto list = all > 0 ? m_swapsFile.read() : std::string_view();
    if (!list)
        return;
    m_listedSwap = all;
    m_untilSwapList = KernelFile::longestPause;
    m_zramFiles.clear();
    static constexpr std::string_view prefix = "/dev/zram";
    std::string_view rest = *list;
    while (!rest.empty()) {
        std::string_view device = KernelText::takeLine(rest);
        device = KernelText::takeWord(device);
        if (!device.starts_with(prefix))
            continue;
        device.remove_prefix(prefix.size());
        if (const auto number = KernelText::wholeNumber<quint32>(device))
            m_zramFiles.emplace_back(QStringLiteral("%1/sys/block/zram%2/mm_stat").arg(m_root).arg(*number));
    }
}

quint64 MemoryUse::zramMemory()
{
    quint64 sum = 0;
    for (KernelFile& file : m_zramFiles) {
        const quint64 memory = zramTotal(file.read().value_or(std::string_view()));
        sum += std::min(memory, std::numeric_limits<quint64>::max() - sum);
    }
    return sum;
}

// What ZFS's cache would give back, in bytes. A line of its statistics is "name type value".
quint64 MemoryUse::zfsCache()
{
    std::string_view content = m_zfsFile.read().value_or(std::string_view());
    std::optional<quint64> size;
    std::optional<quint64> least;
    while (!content.empty() && !(size && least)) {
        std::string_view line = KernelText::takeLine(content);
        const std::string_view name = KernelText::takeWord(line);
        if (name != "size" && name != "c_min")
            continue;
        KernelText::takeWord(line);
        (name == "size" ? size : least) = KernelText::wholeNumber<quint64>(KernelText::takeWord(line));
    }
    return size && least ? *size - std::min(*size, *least) : 0;
}

} // namespace kestrum
