// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/KernelValues.h"

#include <QList>
#include <QString>

namespace kestrum {

/// Cores of one performance level.
struct CoreTier {
    QString name;  ///< "Performance" for the fastest tier, "Efficiency" for the slowest one, else "Level N"
    int count = 0; ///< logical processors
    bool operator==(const CoreTier&) const = default;
};

namespace CoreTopology {

/// This machine's tiers, fastest first, found once per process. Empty when all cores are alike.
const QList<CoreTier>& tiers();

/// The number of logical cores in all tiers. Without tiers, the number of online processors.
int totalCores();

/// The same for the machine that `kernel` describes.
QList<CoreTier> tiers(const KernelValues& kernel);
int totalCores(const QList<CoreTier>& tiers, const KernelValues& kernel);

/// Replaces the result of `tiers()`, so that items can be drawn as on another machine.
void useTiers(const QList<CoreTier>& tiers);

} // namespace CoreTopology
} // namespace kestrum
