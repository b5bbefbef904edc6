#include "KestrumShared/Machine/CoreTopology.h"

namespace kestrum {
namespace {

QList<CoreTier>& machineTiers()
{
    static QList<CoreTier> tiers = CoreTopology::tiers(KernelValues());
    return tiers;
}

std::optional<QString> string(const KernelValues& kernel, const QByteArray& name)
{
    const auto raw = kernel.text(name);
    if (!raw || raw->isEmpty())
        return std::nullopt;
    // Repairs what is not UTF-8.
    return QString::fromUtf8(*raw);
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
        const auto name = string(kernel, prefix + ".name");
        result.append({ name.value_or(QStringLiteral("Level %1").arg(level)), int(*count) });
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
