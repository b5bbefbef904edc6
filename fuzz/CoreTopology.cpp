// SPDX-License-Identifier: MIT
#include "Platform/Machine/CoreTopology.h"

#include "fuzz/FuzzTarget.h"

#include <algorithm>

namespace kestrum {

namespace {

constexpr int mostProcessors = 8192;

std::optional<QByteArray> file(std::string_view content)
{
    // Nothing at all stands for a file that is not there.
    return content.empty() ? std::nullopt : std::optional(bytes(content).trimmed());
}

// The lists of online processors, of fast and of slow ones, and the capacity of processor 0.
void runCoreTopology(std::string_view input)
{
    const auto files = parts(input, 4);
    KernelValues::Texts texts;
    texts.online = file(files[0]);
    texts.kinds = { file(files[1]), file(files[2]), std::nullopt };
    texts.capacities = { { 0, bytes(files[3]).trimmed() }, { 1, "1024" } };
    const KernelValues kernel(texts);

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
