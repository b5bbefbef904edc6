// SPDX-License-Identifier: MIT
#include "Platform/Machine/MemoryText.h"

#include "Platform/Machine/KernelText.h"

#include <algorithm>
#include <limits>

namespace kestrum {
namespace {

// In KiB. Below this limit, an amount in bytes and the sum of a few amounts fit in 64 bits.
constexpr quint64 largestAmount = std::numeric_limits<quint64>::max() / 1024 / 8;

} // namespace

MemoryText::MemoryText(std::string_view meminfo)
{
    std::size_t missing = amountCount;
    while (!meminfo.empty() && missing > 0) {
        std::string_view line = KernelText::takeLine(meminfo);
        const std::string_view name = KernelText::takeWord(line);
        const auto* const found = std::find(std::begin(names), std::end(names), name);
        if (found == std::end(names))
            continue;
        auto& value = m_amounts[found - std::begin(names)];
        const auto number = KernelText::wholeNumber<quint64>(KernelText::takeWord(line));
        if (!value && number && *number <= largestAmount) {
            value = number;
            --missing;
        }
    }
}

// Kernels before 3.14 do not report this value; the result is then the free memory plus the cached memory that is not shared.
std::optional<quint64> MemoryText::availableAmount() const
{
    if (m_amounts[available] || !m_amounts[free])
        return m_amounts[available];
    const quint64 cache = orNone(buffers) + orNone(cached) + orNone(reclaimable);
    return orNone(free) + cache - std::min(cache, orNone(shared));
}

// Each amount is cut to what is left for it.
void MemoryText::divideMemory(MemoryParts& parts, quint64 zfsCache, quint64 zramMemory) const
{
    const quint64 all = orNone(total) * 1024;
    const auto left = availableAmount();
    if (all == 0 || !left)
        return;
    const quint64 ofKernel = std::min(*left * 1024, all);
    const quint64 given = ofKernel + std::min(zfsCache, all - ofKernel);
    const quint64 used = all - given;
    const quint64 inZswap = std::min(orNone(zswap) * 1024, used);
    parts.total = all;
    parts.compressed = inZswap + std::min(zramMemory, used - inZswap);
    parts.app = std::min((orNone(anonymous) + orNone(shared)) * 1024, used - parts.compressed);
    parts.system = used - parts.compressed - parts.app;
    parts.free = std::min(orNone(free) * 1024, given);
    parts.cache = given - parts.free;
}

bool MemoryText::setSwap(MemoryParts& parts) const
{
    if (!m_amounts[swapTotal] || !m_amounts[swapFree])
        return false;
    parts.swapTotal = orNone(swapTotal) * 1024;
    parts.swapUsed = parts.swapTotal - std::min(parts.swapTotal, orNone(swapFree) * 1024);
    return true;
}

// A line is "name type value".
quint64 MemoryText::zfsCache(std::string_view statistics)
{
    std::optional<quint64> size;
    std::optional<quint64> least;
    while (!statistics.empty() && !(size && least)) {
        std::string_view line = KernelText::takeLine(statistics);
        const std::string_view name = KernelText::takeWord(line);
        if (name != "size" && name != "c_min")
            continue;
        KernelText::takeWord(line);
        (name == "size" ? size : least) = KernelText::wholeNumber<quint64>(KernelText::takeWord(line));
    }
    return size && least ? *size - std::min(*size, *least) : 0;
}

// It is the third word.
quint64 MemoryText::zramMemory(std::string_view statistics)
{
    KernelText::takeWord(statistics);
    KernelText::takeWord(statistics);
    return KernelText::wholeNumber<quint64>(KernelText::takeWord(statistics)).value_or(0);
}

std::vector<quint32> MemoryText::zramDevices(std::string_view swaps)
{
    static constexpr std::string_view prefix = "/dev/zram";
    std::vector<quint32> numbers;
    while (!swaps.empty()) {
        std::string_view device = KernelText::takeLine(swaps);
        device = KernelText::takeWord(device);
        if (!device.starts_with(prefix))
            continue;
        device.remove_prefix(prefix.size());
        if (const auto number = KernelText::wholeNumber<quint32>(device))
            numbers.push_back(*number);
    }
    return numbers;
}

} // namespace kestrum
