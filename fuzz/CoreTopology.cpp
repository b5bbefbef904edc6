// SPDX-License-Identifier: MIT
#include "Platform/Machine/CoreTopology.h"

#include "fuzz/FuzzHome.h"
#include "fuzz/FuzzTarget.h"

#include <algorithm>

namespace kestrum {

namespace {

constexpr int mostProcessors = 65536;

// The lists of online processors, of fast and of slow ones, and the capacity of processor 0.
void runCoreTopology(std::string_view input)
{
    const auto files = parts(input, 4);
    FuzzHome::write(QStringLiteral("/sys/devices/system/cpu/online"), files[0]);
    FuzzHome::write(QStringLiteral("/sys/devices/cpu_core/cpus"), files[1]);
    FuzzHome::write(QStringLiteral("/sys/devices/cpu_atom/cpus"), files[2]);
    FuzzHome::write(QStringLiteral("/sys/devices/system/cpu/cpu0/cpu_capacity"), files[3]);
    FuzzHome::write(QStringLiteral("/sys/devices/system/cpu/cpu1/cpu_capacity"), "1024\n");
    const KernelValues kernel(FuzzHome::root());

    const int active = kernel.activeProcessorCount();
    expect(active >= 1 && active <= mostProcessors, "there is a processor, and no more than can be");
    for (const CoreTier& tier : CoreTopology::tiers(kernel)) {
        expect(tier.count >= 1 && tier.count <= mostProcessors,
            "a tier has a processor, and no more than can be");
        expect(!tier.name.isEmpty(), "a tier has a name");
    }
    for (const QList<int>& processors : kernel.levelProcessors()) {
        expect(std::is_sorted(processors.begin(), processors.end())
                && std::adjacent_find(processors.begin(), processors.end()) == processors.end(),
            "a level has each processor once, in order");
        expect(processors.isEmpty() || (processors.first() >= 0 && processors.last() < mostProcessors),
            "processors have numbers that can be");
    }
}

const FuzzTarget coreTopologyTarget("CoreTopology", runCoreTopology);

} // namespace
} // namespace kestrum
