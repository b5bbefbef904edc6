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
    shared,
    swapTotal,
    swapFree,
    amountCount
};
constexpr std::string_view names[amountCount] = { "MemTotal:", "MemAvailable:", "MemFree:", "Buffers:",
    "Cached:", "SReclaimable:", "Shmem:", "SwapTotal:", "SwapFree:" };

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

} // namespace

MemoryUse::MemoryUse(const QString& root)
    : m_file(root + QStringLiteral("/proc/meminfo"))
{
}

void MemoryUse::sample()
{
    const auto content = m_file.read();
    if (!content)
        return;
    const Amounts amounts = parsed(*content);
    const quint64 all = amounts.orNone(total);
    if (const auto left = availableOf(amounts); all > 0 && left)
        m_used = double(all - std::min(all, *left)) / double(all);
    if (amounts.values[swapTotal] && amounts.values[swapFree]) {
        const quint64 swap = amounts.orNone(swapTotal);
        m_swapUsed = (swap - std::min(swap, amounts.orNone(swapFree))) * 1024;
    }
}

} // namespace kestrum
