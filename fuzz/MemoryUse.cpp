// SPDX-License-Identifier: MIT
#include "Platform/Machine/MemoryText.h"
#include "fuzz/FuzzTarget.h"

namespace kestrum {

namespace {

// The files "meminfo", "arcstats", "swaps" and "mm_stat".
void runMemoryUse(std::string_view input)
{
    const auto files = parts(input, 4);
    const auto devices = MemoryText::zramDevices(files[2]);
    const quint64 zram = devices.empty() ? 0 : MemoryText::zramMemory(files[3]);
    const quint64 zfs = MemoryText::zfsCache(files[1]);
    const MemoryText text(files[0]);
    MemoryParts parts;
    const bool hasSwap = text.setSwap(parts);
    expect(hasSwap || parts == MemoryParts(), "swap that is not known changes nothing");
    text.divideMemory(parts, zfs, zram);
    expect(parts.app + parts.system + parts.compressed + parts.cache + parts.free == parts.total,
        "the parts add up");
    for (const quint64 part : { parts.app, parts.system, parts.compressed, parts.cache, parts.free })
        expect(part <= parts.total, "no part is more than all");
    expect(parts.swapUsed <= parts.swapTotal, "no more swap is used than there is");
    MemoryParts again = parts;
    text.setSwap(again);
    text.divideMemory(again, zfs, zram);
    expect(again == parts, "the same files give the same parts");
}

const FuzzTarget memoryUseTarget("MemoryUse", runMemoryUse);

} // namespace
} // namespace kestrum
