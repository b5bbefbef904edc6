// SPDX-License-Identifier: MIT
#include "Platform/Machine/CoreTopology.h"

namespace kestrum {
namespace {

QList<CoreTier>& machineTiers()
{
    static QList<CoreTier> tiers = CoreTopology::tiers(KernelValues());
    return tiers;
}

} // namespace

const QList<CoreTier>& CoreTopology::tiers()
{
    return machineTiers();
}

int CoreTopology::totalCores()
{
    return totalCores(tiers(), KernelValues());
}

QList<CoreTier> CoreTopology::tiers(const KernelValues& kernel)
{
    QList<CoreTier> result;
    const qint64 levels = kernel.integer("hw.nperflevels").value_or(0);
    for (qint64 level = 0; level < levels; ++level) {
        const QByteArray prefix = "hw.perflevel" + QByteArray::number(level);
        const auto count = kernel.integer(prefix + ".logicalcpu");
        if (!count)
            continue;
        const auto name = kernel.text(prefix + ".name");
        result.append(
            { name ? QString::fromUtf8(*name) : QStringLiteral("Level %1").arg(level), int(*count) });
    }
    return result;
}

int CoreTopology::totalCores(const QList<CoreTier>& tiers, const KernelValues& kernel)
{
    if (tiers.isEmpty())
        return kernel.activeProcessorCount();
    int total = 0;
    for (const CoreTier& tier : tiers)
        total += tier.count;
    return total;
}

void CoreTopology::useTiers(const QList<CoreTier>& tiers)
{
    machineTiers() = tiers;
}

} // namespace kestrum
