// SPDX-License-Identifier: MIT
#include "kestrumctl/CoresOption.h"

#include "Platform/Log/Log.h"
#include "Platform/Machine/CoreTopology.h"

namespace kestrum {

namespace {

constexpr int mostCores = 1024;
constexpr qsizetype mostTiers = 8;

QString tierName(qsizetype index, qsizetype count)
{
    if (index == 0)
        return QStringLiteral("Performance");
    if (index == count - 1)
        return QStringLiteral("Efficiency");
    return QStringLiteral("Level %1").arg(index);
}

} // namespace

Result<> CoresOption::apply(const CommandLine& line)
{
    const auto text = line.value(option.name);
    if (!text)
        return {};
    const QStringList counts = text->split(QLatin1Char(','));
    QList<CoreTier> tiers;
    for (const QString& count : counts) {
        bool isNumber = false;
        const int cores = count.toInt(&isNumber);
        if (!isNumber || cores < 1 || cores > mostCores || counts.size() > mostTiers)
            return Failure::withReason(QStringLiteral(
                "--cores takes one to %1 numbers from 1 to %2, separated by commas, not \"%3\"")
                                           .arg(mostTiers)
                                           .arg(mostCores)
                                           .arg(Log::escaped(*text)));
        tiers.append({ tierName(tiers.size(), counts.size()), cores });
    }
    CoreTopology::useTiers(tiers);
    return {};
}

} // namespace kestrum
