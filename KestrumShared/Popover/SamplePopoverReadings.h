// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PopoverReadings.h"

namespace kestrum {

/// Fixed, plausible readings for pictures of popovers.
namespace SamplePopoverReadings {

/// The readings of a machine with everything that popovers can show: eight efficiency and eight performance cores, a graphics
/// card, several volumes, fans and a battery.
PopoverReadings rich();
/// The same with `totalCores` cores in `tiers`, fastest first.
PopoverReadings rich(const QList<CoreTier>& tiers, int totalCores);

/// The readings of a machine that tells little, such as a virtual one: two cores that are alike, one volume, and no more than a
/// temperature from its sensors. Its power may not be read.
PopoverReadings poor();
PopoverReadings poor(const QList<CoreTier>& tiers, int totalCores);

} // namespace SamplePopoverReadings
} // namespace kestrum
