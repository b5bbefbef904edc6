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

/// The number of logical cores of all tiers, or of online processors when there are no tiers.
int totalCores();

/// The same for the machine that `kernel` describes.
QList<CoreTier> tiers(const KernelValues& kernel);
int totalCores(const QList<CoreTier>& tiers, const KernelValues& kernel);

/// Replaces this machine's tiers, so that another machine's items can be drawn here.
void useTiers(const QList<CoreTier>& tiers);

} // namespace CoreTopology
} // namespace kestrum
