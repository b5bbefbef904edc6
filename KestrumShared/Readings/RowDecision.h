// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PopoverReadings.h"
#include "KestrumShared/Readings/LiveReadings.h"

namespace kestrum {

/// Which answer to an open popover it is.
enum class Answer {
    first,    ///< a row appears with a value; without one, a later answer decides
    deciding, ///< there is a row if this answer or an earlier one had a value
    later,    ///< the row stays as it is
};

/// Takes over a value. Until its source has decided, a value has the row that it had when the popover was last open, so that
/// the popover opens with its final height.
template <class T> void take(RowValue<T>& row, const std::optional<T>& value, Answer answer)
{
    if (answer == Answer::first)
        row.hasRow = row.hasRow || value;
    else if (answer == Answer::deciding)
        row.hasRow = row.value || value;
    row.value = row.hasRow ? value : std::nullopt;
}

/// The answer with this number, from 1 on, of a source that measures between two samples: the second answer decides.
inline Answer answerOfTwo(int number)
{
    return number <= 1 ? Answer::first : number == 2 ? Answer::deciding : Answer::later;
}

/// Takes over the processor's power from the sample with this number, from 1 on, since the popover was opened.
inline void takePower(RowValue<double>& watts, PowerAccess& access, const LiveReadings& live, int number)
{
    const bool isDenied = live.isCPUPowerDenied();
    take(watts, live.cpuWatts(), answerOfTwo(number));
    // The row says that the permission is missing. When somebody grants it, the row shows the power.
    watts.hasRow = watts.hasRow || (isDenied && number <= 2);
    access = isDenied ? PowerAccess::denied : PowerAccess::granted;
}

} // namespace kestrum
