// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PopoverReadings.h"
#include "KestrumShared/Readings/PopoverSample.h"

namespace kestrum {

/// Takes over what the open popover of the memory shows, but for its list of apps. All of it is read for the item.
class MemoryPopoverReader {
public:
    static void update(MemoryPopoverReadings& readings, const PopoverSample& sample);
};

} // namespace kestrum
