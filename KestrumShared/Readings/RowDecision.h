// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PopoverReadings.h"
#include "KestrumShared/Readings/LiveReadings.h"

#include <utility>

namespace kestrum {

/// Which answer to an open popover it is.
enum class Answer {
    first,    ///< a row appears with a value; without one, a later answer decides
    deciding, ///< the same, and the last one that can make a row appear
    later,    ///< the row stays as it is
};

/// At an opening: a row that had no value at the end of the last opening is not expected again. `isKnown` tells whether its
/// source had answered, and is false from then on.
template <class T> void expect(RowValue<T>& row, bool& isKnown)
{
    if (std::exchange(isKnown, false))
        row.hasRow = row.value.has_value();
    row.value.reset();
}

/// Takes over a value. A row that is shown stays. Until its source has decided, a value has the row that it had when the popover was last open, so that
/// the popover opens with its final height.
template <class T> void take(RowValue<T>& row, const std::optional<T>& value, Answer answer)
{
    if (answer != Answer::later)
        row.hasRow = row.hasRow || value;
    row.value = row.hasRow ? value : std::nullopt;
}

/// The answer with this number, from 1 on, of a source that measures between two samples: the second answer decides.
inline Answer answerOfTwo(int number)
{
    return number <= 1 ? Answer::first : number == 2 ? Answer::deciding : Answer::later;
}

/// Takes over the processor's power. It takes two samples to measure, but who has counters has a row at the opening. Where the
/// permission is missing, the row says so, and shows the power when somebody grants it.
inline void takePower(RowValue<double>& watts, PowerAccess& access, const LiveReadings& live, bool isOpening)
{
    if (isOpening)
        watts.hasRow = live.hasCPUPower();
    take(watts, live.cpuWatts(), Answer::later);
    access = live.isCPUPowerDenied() ? PowerAccess::denied : PowerAccess::granted;
}

} // namespace kestrum
