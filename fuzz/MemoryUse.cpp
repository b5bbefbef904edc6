// SPDX-License-Identifier: MIT
#include "Platform/Machine/MemoryUse.h"

#include "fuzz/FuzzHome.h"
#include "fuzz/FuzzTarget.h"

namespace kestrum {

namespace {

// The files "meminfo", "arcstats", "swaps" and "mm_stat".
void runMemoryUse(std::string_view input)
{
    const auto files = parts(input, 4);
    FuzzHome::write(QStringLiteral("/proc/meminfo"), files[0]);
    FuzzHome::write(QStringLiteral("/proc/spl/kstat/zfs/arcstats"), files[1]);
    FuzzHome::write(QStringLiteral("/proc/swaps"), files[2]);
    FuzzHome::write(QStringLiteral("/sys/block/zram0/mm_stat"), files[3]);
    MemoryUse use(FuzzHome::root());
    use.sample();
    const MemoryParts parts = use.parts();
    expect(parts.app + parts.system + parts.compressed + parts.cache + parts.free == parts.total,
        "the parts add up");
    for (const quint64 part : { parts.app, parts.system, parts.compressed, parts.cache, parts.free })
        expect(part <= parts.total, "no part is more than all");
    expect(parts.swapUsed <= parts.swapTotal, "no more swap is used than there is");
    expect(use.used() >= 0 && use.used() <= 1, "what is used is a share");
    use.sample();
    expect(use.parts() == parts, "the same files give the same parts");
}

const FuzzTarget memoryUseTarget("MemoryUse", runMemoryUse);

} // namespace
} // namespace kestrum
