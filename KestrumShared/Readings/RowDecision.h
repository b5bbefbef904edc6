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

/// What an opening teaches the next one about a source whose files can be there without ever giving a value, as in virtual
/// machines.
class RowExpectation {
public:
    /// Call this at an opening. False if the source had no value at the end of the last opening, after two answers at least.
    bool open()
    {
        m_answers = 0;
        return !m_isEmpty;
    }
    /// Takes note of an answer and returns its number since the opening, from 1 on.
    int add(bool hasValue)
    {
        ++m_answers;
        if (hasValue || m_answers >= 2)
            m_isEmpty = !hasValue;
        return m_answers;
    }

private:
    int m_answers = 0;
    bool m_isEmpty = false;
};

/// Takes over the processor's power. It takes two samples to measure, but who has counters has a row at the opening, unless
/// they measured nothing at the last one. Where the permission is missing, the row says so, and shows the power when somebody
/// grants it.
inline void takePower(RowValue<double>& watts, PowerAccess& access, RowExpectation& expectation,
    const LiveReadings& live, bool isOpening)
{
    const bool isDenied = live.isCPUPowerDenied();
    if (isOpening)
        watts.hasRow = (expectation.open() || isDenied) && live.hasCPUPower();
    const int number = expectation.add(isDenied || live.cpuWatts());
    take(watts, live.cpuWatts(), answerOfTwo(number));
    access = isDenied ? PowerAccess::denied : PowerAccess::granted;
}

} // namespace kestrum
